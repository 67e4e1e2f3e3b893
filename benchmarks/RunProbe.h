// What the benchmark of whole runs and its watched tool agree on.
#ifndef RUN_PROBE_H
#define RUN_PROBE_H

#include "QelTypes.h"

inline constexpr const char* PROBE_STEPS_VARIABLE  = "QEL_PROBE_STEPS";
inline constexpr const char* PROBE_RESULT_VARIABLE = "QEL_PROBE_RESULT";

inline constexpr KUINT32 PROBE_FRAME_SIZE = 256;  // both sides
inline constexpr KUINT32 PROBE_FRAMES     = 24;
inline constexpr KUINT32 PROBE_STEP_MS    = 16;
inline constexpr KUINT32 PROBE_BAR_WIDTH  = 640;
inline constexpr KUINT32 PROBE_BAR_HEIGHT = 24;

#endif
