// Functions that hand on all their arguments but the third, which they replace: however many there are, in registers
// and on the stack, and without knowing what they are.
//
// C++ has no way to say that. A function with a list of parameters would drop those beyond it; one that is told to be
// variadic, or naked, is still given code by some compilers at some levels of optimisation, which stores to a frame
// that is the caller's. So these are no functions to the compiler, but two instructions: the third argument travels in
// edx, and the jump leaves all other registers that carry arguments, the stack and the return address as the caller
// made them. The driver returns straight to the caller.
#pragma once

#if !defined(__x86_64__)
#error "the third argument travels in another register on this machine"
#endif

// Defines the function `name`, which forwards to `function`. All three arguments are used as text.
#define VL_PASS_THROUGH(name, function, handle)                                                                        \
    __asm__(".pushsection .text\n"                                                                                     \
            ".p2align 4\n"                                                                                             \
            ".globl " #name "\n"                                                                                       \
            ".type " #name ", @function\n" #name ":\n"                                                                 \
            ".cfi_startproc\n"                                                                                         \
            "movl $" #handle ", %edx\n"                                                                                \
            "jmp " #function "@PLT\n"                                                                                  \
            ".cfi_endproc\n"                                                                                           \
            ".size " #name ", . - " #name "\n"                                                                         \
            ".popsection\n")
