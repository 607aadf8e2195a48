// The core library: records, memory, histogram containers, Bayer helpers and pipelines.
#pragma once

#include <ko/bayer.h>
#include <ko/histogram_containers.h>
#include <ko/image.h>
#include <ko/pipeline.h>
#include <ko/result.h>
