// Systems that are not asked.

#include <vellum/io/machinememory_p.h>

#include <limits>

namespace vellum::io {

qint64 machineMemory() { return std::numeric_limits<qint64>::max(); }

} // namespace vellum::io
