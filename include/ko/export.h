// Marks what the shared libraries export; everything else is hidden.
#pragma once

#define KO_EXPORT __attribute__((visibility("default")))
