// Compiler differences, all of them, in one place.
//
// Everything else in the tree is standard C++20. What stands here: static analysis annotations,
// run-time selected vector code, and the rules for warnings that only one compiler knows.
//
//   ORSIN_GUARDED_BY ...     lock annotations; Clang checks them in the native builds
//   ORSIN_TARGET(isa)        compiles one function for a newer instruction set ("avx2"); call it
//                            only after asking the processor
//   ORSIN_NOINLINE           keeps a rare path out of a hot function
//   ORSIN_FLATTEN            inlines everything that a function calls
//   ORSIN_KEEP_VECTOR(value) has a vector computed as it stands: GCC and Clang rearrange sums, even of
//                            intrinsics, and may put the latest value first
//   ORSIN_FSEEK64, _FTELL64  position of a C stream in 64 bits, which `long` does not have on Windows
//   ORSIN_LINK_NAME(name)    declares a C++ function of the MSVC run-time library by the name that
//                            MSVC gives it; MSVC itself needs no help
#pragma once

#if defined(__clang__)
#define ORSIN_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ORSIN_THREAD_ANNOTATION(x)
#endif

#define ORSIN_CAPABILITY(name) ORSIN_THREAD_ANNOTATION(capability(name))
#define ORSIN_SCOPED_CAPABILITY ORSIN_THREAD_ANNOTATION(scoped_lockable)
#define ORSIN_GUARDED_BY(lock) ORSIN_THREAD_ANNOTATION(guarded_by(lock))
#define ORSIN_PT_GUARDED_BY(lock) ORSIN_THREAD_ANNOTATION(pt_guarded_by(lock))
#define ORSIN_REQUIRES(...) ORSIN_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ORSIN_EXCLUDES(...) ORSIN_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ORSIN_ACQUIRE(...) ORSIN_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ORSIN_RELEASE(...) ORSIN_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ORSIN_NO_THREAD_SAFETY_ANALYSIS ORSIN_THREAD_ANNOTATION(no_thread_safety_analysis)

#if defined(__GNUC__)
#define ORSIN_TARGET(isa) __attribute__((target(isa)))
#define ORSIN_NOINLINE __attribute__((noinline))
#define ORSIN_FLATTEN __attribute__((flatten))
#define ORSIN_ALWAYS_INLINE inline __attribute__((always_inline))
#define ORSIN_KEEP_VECTOR(value) __asm__("" : "+v"(value))
#else
#define ORSIN_TARGET(isa)
#define ORSIN_NOINLINE __declspec(noinline)
#define ORSIN_FLATTEN
#define ORSIN_ALWAYS_INLINE __forceinline
#define ORSIN_KEEP_VECTOR(value) static_cast<void>(value)
#endif

#if defined(__MINGW32__) && defined(__clang__)
#define ORSIN_LINK_NAME(name) __asm__(name)
#elif defined(__MINGW32__)  // The quotes are for the assembler.
#define ORSIN_LINK_NAME(name) __asm__("\"" name "\"")
#else
#define ORSIN_LINK_NAME(name)
#endif

// A function that may read, but never use, bytes behind an object (within the same page).
#if defined(__clang__)
#define ORSIN_READS_BEHIND_OBJECT __attribute__((no_sanitize("address", "thread")))
#else
#define ORSIN_READS_BEHIND_OBJECT
#endif

// Positions of C streams in 64 bits; the standard's own functions use `long`.
#if defined(_WIN32)
#define ORSIN_FSEEK64 _fseeki64
#define ORSIN_FTELL64 _ftelli64
#else
#define ORSIN_FSEEK64 fseeko
#define ORSIN_FTELL64 ftello
#endif

// The processor's identification instruction; MSVC and GCC spell it differently.
#if defined(_MSC_VER)
#include <intrin.h>
#define ORSIN_CPUID(leaf, subleaf, registers) \
  __cpuidex(reinterpret_cast<int*>(registers), static_cast<int>(leaf), static_cast<int>(subleaf))
#else
#include <cpuid.h>
#define ORSIN_CPUID(leaf, subleaf, registers) \
  __cpuid_count(leaf, subleaf, (registers)[0], (registers)[1], (registers)[2], (registers)[3])
#endif

// A section that all processes share which have loaded the same library file: declared once, then named
// by its variables. Clang knows no attribute for it and takes over what its assembler has seen first.
#if defined(_MSC_VER)
#define ORSIN_DECLARE_SHARED_SECTION(name) __pragma(section(name, read, write, shared))
#define ORSIN_SHARED_SECTION(name) __declspec(allocate(name))
#elif defined(_WIN32) && defined(__clang__)
#define ORSIN_DECLARE_SHARED_SECTION(name) __asm__(".section " name ",\"dws\"\n.text");
#define ORSIN_SHARED_SECTION(name) __attribute__((section(name)))
#elif defined(_WIN32)
#define ORSIN_DECLARE_SHARED_SECTION(name)
#define ORSIN_SHARED_SECTION(name) __attribute__((section(name), shared))
#endif
