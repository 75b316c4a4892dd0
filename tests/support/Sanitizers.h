// What the tests were built with.
#pragma once

#ifdef __has_feature
#define STREAMMGR_HAS_FEATURE(feature) __has_feature(feature)
#else
#define STREAMMGR_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || STREAMMGR_HAS_FEATURE(address_sanitizer)
inline constexpr bool hasAddressSanitizer = true;
#else
inline constexpr bool hasAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__) || STREAMMGR_HAS_FEATURE(thread_sanitizer)
inline constexpr bool hasThreadSanitizer = true;
#else
inline constexpr bool hasThreadSanitizer = false;
#endif

#undef STREAMMGR_HAS_FEATURE
