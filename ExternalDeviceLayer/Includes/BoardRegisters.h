// The registers of a board that report an update, by number, and their fields.
#ifndef BOARD_REGISTERS_H
#define BOARD_REGISTERS_H

#include "QelTypes.h"

constexpr KUINT32 REG_PROGRESS_BAR_RUNNING = 6908;  // 1 while every output shows a run's picture
constexpr KUINT32 REG_PROGRESS_UPDATE      = 7932;  // see RegPROGRESS_UPDATE

// The board's progress register: f for its fields, dwValue for the whole word.
union RegPROGRESS_UPDATE
{
    struct fRegPROGRESS_UPDATE
    {
        KUINT uUpdatePct : 8;  // the percentage; all that a run reads
        KUINT uReserved : 14;
        KUINT uBarDisplayCompleted : 1;
        KUINT uTriggerNewBarDisplay : 1;
        KUINT uUpdateStatus : 8;
    } f;
    KUINT32 dwValue;
};
static_assert(sizeof(RegPROGRESS_UPDATE) == 4);

#endif
