#pragma once

// The SDK types live in one shared library that the host and every plug-in link, so that
// meta-objects and type identities exist once in the process (a plug-in and the host
// must agree on AbstractOptionsPage's signals, for instance).
#if defined(TAVISDK_BUILDING)
#define TAVISDK_EXPORT __attribute__((visibility("default")))
#else
#define TAVISDK_EXPORT
#endif
