#include "bitmap/cname.h"

#include <QFileDevice>
#include <QFileInfo>

#include <cctype>

namespace vellum::plugin {

QByteArray cNameFor(const QIODevice &device)
{
    const auto *const file = qobject_cast<const QFileDevice *>(&device);
    QByteArray name = file ? QFileInfo(file->fileName()).completeBaseName().toLatin1() : "";
    for (char &c : name) {
        if (!std::isalnum(uchar(c)) || uchar(c) >= 128)
            c = '_';
    }
    if (name.isEmpty())
        return "image";
    return std::isdigit(uchar(name[0])) ? "_" + name : name;
}

} // namespace vellum::plugin
