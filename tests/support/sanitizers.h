// Which sanitizer a test was built with: both compilers tell it, each in a way of its own.
#pragma once

#if defined(__has_feature)
#define TLR2_HAS_FEATURE(feature) __has_feature(feature)
#else
#define TLR2_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || TLR2_HAS_FEATURE(address_sanitizer)
#define TLR2_ADDRESS_SANITIZER 1
#else
#define TLR2_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || TLR2_HAS_FEATURE(thread_sanitizer)
#define TLR2_THREAD_SANITIZER 1
#else
#define TLR2_THREAD_SANITIZER 0
#endif
