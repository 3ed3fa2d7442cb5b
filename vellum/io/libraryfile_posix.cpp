#include <vellum/io/libraryfile_p.h>

#include <QFile>

#include <dlfcn.h>

namespace vellum::io {

QString libraryFile()
{
    static const char inThisLibrary = 0;
    Dl_info info = {};
    if (!dladdr(&inThisLibrary, &info) || !info.dli_fname)
        return {};
    return QFile::decodeName(info.dli_fname);
}

} // namespace vellum::io
