#include "StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

void KeepStandardStreamsTaken()
{
    int iFile = 0;
    do
        iFile = open("/", O_PATH);
    while (iFile >= 0 && iFile <= STDERR_FILENO);
    if (iFile >= 0)
        close(iFile);
}
