// Part of each program of the coverage build. A process that ends with _exit, such as a child that tries a call, keeps its
// counts.
extern "C"
{
void              __gcov_dump();
[[noreturn]] void __real__exit(int iStatus);
[[noreturn]] void __wrap__exit(int iStatus);
}

void __wrap__exit(int iStatus)
{
    __gcov_dump();
    __real__exit(iStatus);
}
