// Marks what the shared libraries export; everything else is hidden.
#pragma once

/// Before a declaration: visible outside the shared library.
#define KO_EXPORT __attribute__((visibility("default")))
