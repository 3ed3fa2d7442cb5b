// Owners of lcms2 handles.
#pragma once

#include <lcms2.h>

#include <memory>

namespace vellum::color {

struct DeleteTransform
{
    void operator()(void *transform) const noexcept { cmsDeleteTransform(transform); }
};

using Transform = std::unique_ptr<void, DeleteTransform>;

} // namespace vellum::color
