// Whether this build has a sanitizer for memory or threads, which makes it slow and large.
#pragma once

namespace testsupport {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool Sanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool Sanitized = true;
#else
inline constexpr bool Sanitized = false;
#endif
#else
inline constexpr bool Sanitized = false;
#endif

}  // namespace testsupport
