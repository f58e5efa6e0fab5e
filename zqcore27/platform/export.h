#pragma once

/// Marks what a host may call. Everything else in the library is hidden.
#define ZQCORE27_EXPORT __attribute__((visibility("default")))
