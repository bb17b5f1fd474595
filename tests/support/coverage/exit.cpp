// _exit for builds that count lines: it would else lose the counts of programs that
// end by it. Linked with --wrap=_exit.

extern "C" void __gcov_dump();                  // NOLINT(*-reserved-identifier)
extern "C" [[noreturn]] void __real__exit(int); // NOLINT(*-reserved-identifier)

extern "C" [[noreturn]] void __wrap__exit(int code) // NOLINT(*-reserved-identifier)
{
    __gcov_dump();
    __real__exit(code);
}
