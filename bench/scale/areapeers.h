// Other libraries that scale by averaging areas.
#pragma once

#include <vellum/vellum.h>

#include <comparison.h>
#include <vector>

namespace vellum::bench {

/// Scaling \a image, of four 8-bit channels, to \a size with each of those libraries that were
/// there when this was built, on one thread.
std::vector<Peer> areaPeers(const Vellum &image, const QSize &size);

} // namespace vellum::bench
