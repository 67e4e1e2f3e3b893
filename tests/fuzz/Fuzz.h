// What the fuzz targets share: each is one function over the bytes of a file, and traps when something is not as it must be.
#ifndef FUZZ_H
#define FUZZ_H

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize);

inline void Must(bool bHolds)
{
    if (!bHolds) __builtin_trap();
}

#endif
