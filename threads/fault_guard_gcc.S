// The frames that GCC's exception tables cannot express. See fault_guard_win.cpp.

	.text

// std::uint32_t orsin_call_guarded(void (*entry)(void*), void* argument)
//
// Calls entry(argument) under a structured exception handler and returns 0. When the filter asks
// for it the stack is unwound to here and 1 is returned; not the exception's code, which the unwinder
// promises to leave in eax, but Wine does not.
	.globl	orsin_call_guarded
	.seh_proc	orsin_call_guarded
orsin_call_guarded:
	subq	$40, %rsp
	.seh_stackalloc	40
	.seh_endprologue
.Lguarded_begin:
	movq	%rcx, %rax
	movq	%rdx, %rcx
	call	*%rax
	nop				// The return address must lie inside the guarded range.
.Lguarded_end:
	xorl	%eax, %eax
	addq	$40, %rsp
	ret
.Lhandled:
	movl	$1, %eax
	addq	$40, %rsp
	ret
	.seh_handler	__C_specific_handler, @except
	.seh_handlerdata
	.long	1
	.rva	.Lguarded_begin, .Lguarded_end, orsin_fault_filter, .Lhandled
	.text
	.seh_endproc

// Where a faulting thread goes on: the stack pointer is at a machine frame that leads the unwinder
// back to the faulting instruction, as if that had called orsin_throw_fault().
	.globl	orsin_fault_trampoline
	.seh_proc	orsin_fault_trampoline
orsin_fault_trampoline:
	.seh_pushframe
	subq	$32, %rsp
	.seh_stackalloc	32
	.seh_endprologue
	call	orsin_throw_fault
	nop
	.seh_endproc
