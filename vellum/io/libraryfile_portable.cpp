#include <vellum/io/libraryfile_p.h>

namespace vellum::io {

QString libraryFile() { return {}; }

} // namespace vellum::io
