// The ends that write no line counts, for builds that count lines: _exit and abort.
// Linked with --wrap=_exit and --wrap=abort.

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void __gcov_dump();
extern "C" [[noreturn]] void __real__exit(int);
extern "C" [[noreturn]] void __real_abort();

// Where calls are made to fail: the writing of the counts is none of them.
[[gnu::weak]] void disarmFault();

static void writeCounts()
{
    if (disarmFault)
        disarmFault();
    __gcov_dump();
}

extern "C" [[noreturn]] void __wrap__exit(int code)
{
    writeCounts();
    __real__exit(code);
}

extern "C" [[noreturn]] void __wrap_abort()
{
    writeCounts();
    __real_abort();
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
