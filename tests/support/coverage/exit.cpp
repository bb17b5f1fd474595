// _exit for builds that count lines: it would else lose the counts of programs that
// end by it. Linked with --wrap=_exit.

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void __gcov_dump();
extern "C" [[noreturn]] void __real__exit(int);

extern "C" [[noreturn]] void __wrap__exit(int code)
{
    __gcov_dump();
    __real__exit(code);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
