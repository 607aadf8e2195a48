// Images: records, memory, histogram containers, Bayer helpers, statuses, threads.
#pragma once

#include <ko/bayer.h>
#include <ko/histogram_containers.h>
#include <ko/image.h>
#include <ko/result.h>
#include <ko/threads.h>
