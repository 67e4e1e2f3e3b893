// For programs that open files while a standard stream may be closed.
#ifndef STANDARD_STREAMS_H
#define STANDARD_STREAMS_H

// If the caller closed a standard stream, the next file that anybody opens would get its number, and the messages would be
// written into that file. The root folder takes the number instead. It always exists, and O_PATH lets nobody write to it.
void KeepStandardStreamsTaken();

#endif
