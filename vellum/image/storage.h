// Where the rows of an image lie.
#pragma once

namespace vellum {

/// Where an operation puts the rows of its result.
enum class Storage {
    Plain, ///< in the one buffer of a QImage
    Big, ///< in separately allocated blocks
};

} // namespace vellum
