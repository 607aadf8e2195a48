// The core library: records, memory, histogram containers and Bayer helpers.
#pragma once

#include <ko/bayer.h>
#include <ko/histogram_containers.h>
#include <ko/image.h>
#include <ko/result.h>
