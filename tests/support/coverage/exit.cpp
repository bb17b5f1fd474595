// For builds that count lines: _exit and abort write no line counts by themselves; here
// they do. Linked with --wrap=_exit and --wrap=abort.

// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" void __gcov_dump();
extern "C" [[noreturn]] void __real__exit(int);
extern "C" [[noreturn]] void __real_abort();

// In fault programs, the calls that write the counts must not fail.
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
// NOLINTEND(clang-diagnostic-reserved-identifier)
