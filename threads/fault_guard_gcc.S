// The frames that GCC's exception tables cannot express. See fault_guard_win.cpp.

	.text

// std::uint32_t NAME(void (*entry)(void*), void* argument)
//
// Calls entry(argument) under a structured exception handler and returns 0. When the filter asks
// for it the stack is unwound to here and 1 is returned; not the exception's code, which the unwinder
// promises to leave in eax, but Wine does not.
.macro filtered_call name, filter
	.globl	\name
	.seh_proc	\name
\name:
	subq	$40, %rsp
	.seh_stackalloc	40
	.seh_endprologue
.Lbegin_\name:
	movq	%rcx, %rax
	movq	%rdx, %rcx
	call	*%rax
	nop				// The return address must lie inside the guarded range.
.Lend_\name:
	xorl	%eax, %eax
	addq	$40, %rsp
	ret
.Lhandled_\name:
	movl	$1, %eax
	addq	$40, %rsp
	ret
	.seh_handler	__C_specific_handler, @except
	.seh_handlerdata
	.long	1
	.rva	.Lbegin_\name, .Lend_\name, \filter, .Lhandled_\name
	.text
	.seh_endproc
.endm

	filtered_call	orsin_call_guarded, orsin_fault_filter
	filtered_call	orsin_call_shielded, orsin_shield_filter

// Where a faulting thread goes on, once the system is done with the stack below the fault: pushes the
// machine frame that rcx points to (five words) where the system had its own, so there is room. It
// leads the unwinder back to the faulting instruction, as if that had called orsin_throw_fault().
	.globl	orsin_fault_trampoline
orsin_fault_trampoline:
	subq	$8, %rsp		// Five words leave the stack pointer at an odd one.
	pushq	32(%rcx)
	pushq	24(%rcx)
	pushq	16(%rcx)
	pushq	8(%rcx)
	pushq	(%rcx)

	.seh_proc	orsin_fault_frame
orsin_fault_frame:
	.seh_pushframe
	subq	$32, %rsp
	.seh_stackalloc	32
	.seh_endprologue
	call	orsin_throw_fault
	nop
	.seh_endproc
