// What programs with stricter warnings than ours include.
#include <ko/interop/opencv.h>
#include <ko/interop/qimage.h>
#include <ko/koimproc.h>
