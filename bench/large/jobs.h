// What is measured, each in a process of its own.
#pragma once

#include <QStringList>

namespace vellum::bench {

/// Runs the job that \a arguments name:
///
///   make WIDTH HEIGHT FILE...                 writes one picture as files of several kinds
///   thumbnail IN OUT SIDE                     reads IN reduced and writes OUT
///   read IN                                   reads all of IN
///   crop IN OUT X Y WIDTH HEIGHT              reads a part of IN and writes it
///   cmyk IN OUT THREADS                       writes IN as CMYK
///   qt-thumbnail, qt-read                     the same with Qt's own readers and writers
///
/// \return the process's exit code
int runJob(const QStringList &arguments);

} // namespace vellum::bench
