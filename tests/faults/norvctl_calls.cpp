// Stands between norvctl and its libraries, at link time. The list gives no parameters:
// they are those of the functions' own declarations.
#include "tests/faults/fault.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <openssl/bn.h>
#include <openssl/decoder.h>
#include <openssl/encoder.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rand.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <uv.h>

// The attributes of the declarations say nothing about what the wrappers do.
#pragma GCC diagnostic ignored "-Wignored-attributes"

namespace
{

template <typename Call, typename Function>
struct Wrapper;

template <typename Call, typename Result, typename... Arguments>
struct Wrapper<Call, Result(Arguments...)> {
    static Result call(Arguments... arguments)
    {
        if (!strikes(Call::kind, Call::name))
            return Call::real(arguments...);
        if (Call::kind == FaultKind::systemCall)
            errno = faultError();
        return Call::failed();
    }
};

template <typename Call, typename Result, typename... Arguments>
struct Wrapper<Call, Result(Arguments...) noexcept>
    : Wrapper<Call, Result(Arguments...)> {
};

} // namespace

// With --wrap=NAME the program's calls of NAME arrive at __wrap_NAME, which is made here
// of one jump: a function of the language would need the parameters.
#define WRAP(function, faultKind, failure)                                               \
    extern "C" decltype(function) real_##function __asm__("__real_" #function);          \
    namespace                                                                            \
    {                                                                                    \
    struct Call_##function {                                                             \
        static constexpr FaultKind kind = FaultKind::faultKind;                          \
        static constexpr const char* name = #function;                                   \
        static constexpr auto* real = &real_##function;                                  \
        static auto failed()                                                             \
        {                                                                                \
            return failure;                                                              \
        }                                                                                \
    };                                                                                   \
    }                                                                                    \
    extern "C" {                                                                         \
    extern void* const wrapper_##function;                                               \
    __attribute__((used)) void* const wrapper_##function =                               \
        reinterpret_cast<void*>(&Wrapper<Call_##function, decltype(function)>::call);    \
    }                                                                                    \
    __asm__(".text\n.globl __wrap_" #function "\n.type __wrap_" #function                \
            ", @function\n__wrap_" #function ": jmp *wrapper_" #function "(%rip)\n");

#define CRYPTO(function, failure) WRAP(function, libraryCall, failure)
#define LOOP(function, failure) WRAP(function, libraryCall, failure)
#define SYSTEM(function, failure) WRAP(function, systemCall, failure)
#define BY_HAND(function)
#define CRYPTO_BY_HAND(function)
#define FRAMES(function)
#define LOOP_BY_HAND(function)
#define ELSEWHERE(function)
#define CERTAIN(function)

#include "tests/faults/norvctl_calls.inc"

extern "C" {

int real_open(const char* path, int flags, ...) __asm__("__real_open");
int wrapped_open(const char* path, int flags, ...) __asm__("__wrap_open");

int wrapped_open(const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    if (!strikes(FaultKind::systemCall, "open"))
        return real_open(path, flags, mode);
    errno = faultError();
    return -1;
}

int real_uv_spawn(uv_loop_t* loop, uv_process_t* process,
                  const uv_process_options_t* options) __asm__("__real_uv_spawn");
int wrapped_uv_spawn(uv_loop_t* loop, uv_process_t* process,
                     const uv_process_options_t* options) __asm__("__wrap_uv_spawn");

// The library's own failure: it leaves a handle that must be closed.
int wrapped_uv_spawn(uv_loop_t* loop, uv_process_t* process,
                     const uv_process_options_t* options)
{
    uv_process_options_t changed = *options;
    if (strikes(FaultKind::libraryCall, "uv_spawn"))
        changed.file = "/nonexistent/program";
    return real_uv_spawn(loop, process, &changed);
}

} // extern "C"
