// Whether the address checker is built in: it takes memory and time that a limit must not count.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define KESTRA_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTRA_SANITIZED 1
#endif
#endif
