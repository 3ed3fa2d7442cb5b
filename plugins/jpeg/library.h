// libjpeg's headers, which need others before them, in this order.
#pragma once

// clang-format off
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
#include <jerror.h>
// clang-format on
