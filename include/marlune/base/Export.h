#pragma once

/// MARLUNE_API marks what the library publishes; every other symbol is hidden.
#if defined(MARLUNE_SHARED)
#define MARLUNE_API __attribute__((visibility("default")))
#else
#define MARLUNE_API
#endif
