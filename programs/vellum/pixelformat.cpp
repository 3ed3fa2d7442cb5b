#include "pixelformat.h"

#include "command.h"
#include "storage.h"

#include <QStringList>

namespace vellum::tool {

namespace {

constexpr int kNameColumns = 72; // a manual page indents them

QString nameOf(QImage::Format format) { return formatName(format).toLower(); }

std::string choices()
{
    QStringList names;
    for (int i = QImage::Format_Invalid + 1; i < QImage::NImageFormats; ++i)
        names += nameOf(QImage::Format(i));
    return names.join('|').toStdString();
}

QImage::Format parsedFormat(const std::string &text)
{
    const QString wanted = fromShell(text);
    for (int i = QImage::Format_Invalid + 1; i < QImage::NImageFormats; ++i) {
        if (nameOf(QImage::Format(i)) == wanted)
            return QImage::Format(i);
    }
    throw CLI::ValidationError("--format", "'" + text + "' is none of " + choices());
}

} // namespace

Qt::ImageConversionFlags FormatOptions::flags() const
{
    return preferDither ? dither | Qt::PreferDither : dither;
}

void addFormatOptions(CLI::App &command, FormatOptions &options)
{
    CLI::Option *const format =
        command
            .add_option_function<std::string>(
                "--format",
                [&options](const std::string &text) { options.format = parsedFormat(text); },
                "Convert the pixels to this format (see below) before they are written.\n"
                "A kind of file that cannot hold it gets the nearest it can")
            ->type_name(choices())
            ->option_text("NAME");
    addChoice(command, "--dither", options.dither,
              {{"threshold", Qt::ThresholdDither | Qt::ThresholdAlphaDither},
               {"ordered", Qt::OrderedDither | Qt::OrderedAlphaDither},
               {"diffuse", Qt::DiffuseDither | Qt::DiffuseAlphaDither}},
              "With --format mono, monolsb and indexed8: the nearest colour, a regular\n"
              "pattern, or errors spread over the neighbours (the default)")
        ->needs(format);
    command
        .add_flag("--prefer-dither", options.preferDither,
                  "With --format: dither also where a palette could hold all colours, and\n"
                  "in formats with less than 8 bits per channel")
        ->needs(format);
}

std::string formatNames()
{
    QString lines;
    int column = 0;
    for (int i = QImage::Format_Invalid + 1; i < QImage::NImageFormats; ++i) {
        const QString name = nameOf(QImage::Format(i));
        const bool fits = column + 1 + name.size() <= kNameColumns;
        lines += column == 0 ? QStringLiteral("  ") : fits ? QStringLiteral(" ") : "\n  ";
        column = (column == 0 || !fits ? 2 : column + 1) + name.size();
        lines += name;
    }
    return lines.toStdString();
}

} // namespace vellum::tool
