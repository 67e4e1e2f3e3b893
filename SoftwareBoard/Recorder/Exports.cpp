// The sixteen operations as a library exports them. Each hands its arguments to the library's Carry, as words.
#include "Carry.h"

using namespace SoftwareBoard::Recorder;

namespace
{
template <class... TArguments> Words MakeWords(TArguments... tArguments)
{
    return {ToWord(tArguments)...};
}
}

#define EXPORT(Result, Name, Parameters, Arguments)                            \
    Result Name Parameters                                                     \
    {                                                                          \
        return FromWord<Result>(Carry(EOperation::Name, MakeWords Arguments)); \
    }

TAVRIN_OPERATION_TABLE(EXPORT)
