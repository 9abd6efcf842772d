#pragma once

// Whether this program runs under a sanitizer that needs address space and memory of its own. g++
// says so by a macro, clang by a feature test, of which g++ may know only the name.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
constexpr bool kIsSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kIsSanitized = false;
#endif
