// The two ends of a call that the linker leads elsewhere: with --wrap=NAME the
// program's call of NAME arrives at wrapped_NAME, and real_NAME is the library's own.
// Their names are given by asm labels: they are not ours to declare in the language.
#pragma once

#define DECLARE(name, type, parameters)                                                  \
    type real_##name parameters __asm__("__real_" #name);                                \
    type wrapped_##name parameters __asm__("__wrap_" #name);
