// A bare program: reads the pictures that it is given by libpng alone, and writes the milliseconds of processor time that it
// has used since its start.
#include <time.h>

#include "LibpngAlone.h"

int main(int iArguments, char** ppszArguments)
{
    for (int i = 1; i < iArguments; ++i)
        ReadByLibpngAlone(ppszArguments[i]);
    timespec oTime{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &oTime);
    std::printf("%.6f\n", static_cast<double>(oTime.tv_sec) * 1e3 + static_cast<double>(oTime.tv_nsec) / 1e6);
    return 0;
}
