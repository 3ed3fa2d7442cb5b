// The source pixels under one result pixel.
#pragma once

namespace vellum::scale {

/// The weights of all source pixels that make up one result pixel, in an axis that shrinks.
constexpr int kWhole = 1 << 14;

/// The source pixels under one result pixel, along an axis that shrinks: the one at start, then
/// middle whole ones, then a last one. The weights add up to kWhole.
struct Span
{
    int start;
    int middle; ///< number of whole pixels
    int first; ///< weight of the first pixel
    int last; ///< weight of the last pixel; when 0 that pixel need not exist
};

} // namespace vellum::scale
