// Owners of lcms2 handles.
#pragma once

#include <vellum/color/presscolors.h>

#include <lcms2.h>

#include <memory>

namespace vellum::color {

struct CloseProfile
{
    void operator()(void *profile) const noexcept { cmsCloseProfile(profile); }
};

struct DeleteTransform
{
    void operator()(void *transform) const noexcept { cmsDeleteTransform(transform); }
};

using Profile = std::unique_ptr<void, CloseProfile>;
using Transform = std::unique_ptr<void, DeleteTransform>;

/// The transform into CMYK that the images of a chain share. Whoever empties the record releases
/// the transform for all of them.
struct SaveTransform
{
    Transform transform;
    bool released = false; ///< the save it was made for is over
    PressColors colors; ///< from where to where
};

} // namespace vellum::color
