// Functions that hand on all their arguments but the third, which they replace: however many there are, in registers and
// on the stack, and without knowing what they are.
//
// C++ has no way to say that: a function with a fixed list of parameters would drop those beyond it. So these are two
// instructions, the same at every optimisation level. The third argument travels in edx; the jump leaves all other
// registers, the stack and the return address as the caller made them, and the driver returns straight to the caller.
#pragma once

#if !defined(__x86_64__)
#error "the third argument travels in another register on this machine"
#endif

// Goes in front of the function; the macro below is its whole body. Both names and the handle are used as text.
#define VL_NAKED [[gnu::naked]]
#define VL_PASS_THROUGH(function, handle) __asm__("movl $" #handle ", %edx\n\tjmp " #function "@PLT");
