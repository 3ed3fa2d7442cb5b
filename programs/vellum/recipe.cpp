#include "recipe.h"

#include "cancel.h"
#include "failure.h"
#include "inkreport.h"
#include "pipeline.h"
#include "pixelcolors.h"
#include "printing.h"
#include "profiles.h"
#include "proof.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTransform>

#include <cmath>

namespace vellum::tool {

namespace {

/// One picture on its way through a recipe.
class RecipeRun
{
public:
    RecipeRun(const Recipe &recipe, const TargetColors &colors, Pipeline &pipeline)
        : m_recipe(recipe), m_colors(colors), m_pipeline(pipeline)
    {
    }

    void run()
    {
        checkKnownSize();
        const ReadWishes reading = readWishes();
        WriteWishes wishes;
        if (m_colors.cmyk) {
            wishes.press = m_colors.profile;
            wishes.conversion = m_recipe.colors.conversion;
        }
        if (isStreamed() && m_pipeline.stream(reading, m_readSize, wishes, rowConversion()))
            return;
        m_pipeline.expectStages(stageCount());
        m_picture = m_pipeline.read(reading);
        checkReadSize();
        cutOut();
        mirror();
        rotate();
        scale();
        reportInks();
        proof();
        convertColors();
        convertPixels();
        m_pipeline.write(m_picture, wishes, m_recipe.scaling.isWanted() ? "write" : "convert");
        printInks();
    }

private:
    bool mirrors() const { return m_recipe.mirrorHorizontally || m_recipe.mirrorVertically; }
    bool keepsSize() const { return !m_recipe.angle && !m_recipe.scaling.isWanted(); }

    int stageCount() const
    {
        return qMax(1,
                    int(!m_recipe.area.isNull()) + int(mirrors()) + int(bool(m_recipe.angle)) +
                        int(m_recipe.scaling.isWanted()) + int(convertsHere()) +
                        int(!m_colors.proof.isEmpty()) + int(!m_colors.measured.isEmpty()) +
                        int(m_recipe.pixels.format != QImage::Format_Invalid));
    }

    /// Inks are made while the file is written.
    bool convertsHere() const { return !m_colors.profile.isEmpty() && !m_colors.cmyk; }

    /// Refuses what cannot be written before the work begins, if the header tells.
    void checkKnownSize() const
    {
        const QSize known = m_pipeline.header().size;
        if (!m_recipe.area.isNull() && keepsSize())
            m_pipeline.checkFits(m_recipe.area.size());
        else if (!known.isEmpty())
            checkSize(known);
    }

    void checkReadSize() const
    {
        if (m_recipe.area.isNull() && !m_scalesOnReading)
            checkSize(m_picture.size());
    }

    void checkSize(const QSize &size) const
    {
        if (m_recipe.angle)
            return; // known when it is turned
        m_pipeline.checkFits(
            m_recipe.scaling.isWanted()
                ? targetFor(m_recipe.scaling, size, m_pipeline.inputName()).part.size()
                : size);
    }

    /// What can be done while the picture is read, so that not all of it need be held.
    ReadWishes readWishes()
    {
        ReadWishes wishes;
        QSize known = m_pipeline.header().size;
        m_readSize = known;
        if (known.isEmpty())
            return wishes;
        m_cutsOnReading =
            !m_recipe.area.isNull() && QRect(QPoint(0, 0), known).contains(m_recipe.area);
        if (m_cutsOnReading) {
            wishes.region = m_recipe.area;
            known = m_recipe.area.size();
            m_readSize = known;
        }
        m_scalesOnReading = isReducedOnReading(known);
        if (m_scalesOnReading) {
            m_readSize = targetFor(m_recipe.scaling, known, m_pipeline.inputName()).size;
            wishes.size = m_readSize;
        }
        return wishes;
    }

    /// Whether the rows of a large picture may go from file to file one by one.
    bool isStreamed() const
    {
        const bool isLarge =
            pixelBytes(m_pipeline.header().size, m_pipeline.header().format) >= kStreamedFrom;
        const bool areaIsReady = m_recipe.area.isNull() || m_cutsOnReading;
        const bool sizeIsReady = !m_recipe.scaling.isWanted() || m_scalesOnReading;
        return isLarge && areaIsReady && sizeIsReady && !mirrors() && !m_recipe.angle &&
            m_colors.proof.isEmpty() && m_colors.measured.isEmpty() && !isDithered();
    }

    /// Whether the rows of the result depend on each other, or on all colours of the picture.
    bool isDithered() const
    {
        const QImage::Format format = m_recipe.pixels.format;
        return m_recipe.pixels.preferDither || format == QImage::Format_Mono ||
            format == QImage::Format_MonoLSB || format == QImage::Format_Indexed8;
    }

    /// What convertColors() and convertPixels() do, for some rows.
    RowConversion rowConversion() const
    {
        const FormatOptions &wanted = m_recipe.pixels;
        if (!convertsHere() && wanted.format == QImage::Format_Invalid)
            return {};
        return [this, &wanted](const Vellum &strip) {
            Vellum result = strip;
            if (convertsHere()) {
                Progress silent(Progress::Mode::None, m_pipeline.inputName());
                result = toProfile(strip, m_pipeline.inputName(), m_colors.profile,
                                   m_recipe.colors.conversion, silent);
            }
            if (wanted.format != QImage::Format_Invalid)
                result = converted(result, wanted.format, wanted.flags());
            return result;
        };
    }

    bool isReducedOnReading(const QSize &known) const
    {
        const ScalingOptions &scaling = m_recipe.scaling;
        const bool comesFirst =
            (m_recipe.area.isNull() || m_cutsOnReading) && !mirrors() && !m_recipe.angle;
        if (!scaling.isWanted() || scaling.fast || !comesFirst)
            return false;
        if (pixelBytes(known, m_pipeline.header().format) < kStreamedFrom)
            return false;
        const Target target = targetFor(scaling, known, m_pipeline.inputName());
        return target.part.size() == target.size && target.size.width() < known.width() &&
            target.size.height() < known.height();
    }

    void cutOut()
    {
        if (m_recipe.area.isNull() || m_cutsOnReading)
            return;
        Progress &progress = m_pipeline.begin("crop");
        m_pipeline.move(m_picture);
        const vellum::Storage storage =
            m_pipeline.storageFor(m_recipe.area.size(), m_picture.format());
        take(cropped(m_picture, m_recipe.area, storage, progress), "cropped");
    }

    void mirror()
    {
        if (!mirrors())
            return;
        Progress &progress = m_pipeline.begin("mirror");
        m_pipeline.move(m_picture);
        take(watched(progress, ProgressGuard::Positions::Percent,
                     [&] {
                         return mirrored(m_picture, m_recipe.mirrorHorizontally,
                                         m_recipe.mirrorVertically);
                     }),
             "mirrored");
    }

    void rotate()
    {
        if (!m_recipe.angle)
            return;
        Progress &progress = m_pipeline.begin("rotate");
        m_pipeline.move(m_picture);
        take(watched(progress, ProgressGuard::Positions::Percent, [&] { return turned(); }),
             "rotated");
        if (!m_recipe.scaling.isWanted())
            m_pipeline.checkFits(m_picture.size());
    }

    Vellum turned() const
    {
        const double angle = *m_recipe.angle;
        const QSize size = QTransform().rotate(angle).mapRect(m_picture.rect()).size();
        const vellum::Storage storage = m_pipeline.storageFor(size, m_picture.format());
        if (m_recipe.fill.isValid())
            return freeRotated(m_picture, angle, m_recipe.fill, storage);
        bool transparent = false;
        const uint fill = getFillColorForRotate(m_picture, transparent);
        return freeRotated(m_picture, angle, fill, storage);
    }

    void scale()
    {
        if (!m_recipe.scaling.isWanted() || m_scalesOnReading)
            return;
        Progress &progress = m_pipeline.begin("scale");
        m_pipeline.move(m_picture);
        const Target target = targetFor(m_recipe.scaling, m_picture.size(), m_pipeline.inputName());
        m_pipeline.checkFits(target.part.size());
        if (target.size == m_picture.size() && target.part == m_picture.rect())
            return;
        take(scaledPicture(m_picture, target, m_recipe.scaling.fast, m_pipeline.storage(), progress,
                           m_pipeline.output()),
             "scaled");
    }

    void reportInks()
    {
        if (m_colors.measured.isEmpty())
            return;
        Progress &progress = m_pipeline.begin("inks");
        const auto report = inkReport(m_picture, pixelProfile(m_picture), m_colors.measured,
                                      m_recipe.colors.conversion, reportTo(progress));
        if (!report)
            failColors();
        m_inkReport = report;
    }

    /// When the picture has been written: of one that could not be, it would mislead.
    void printInks() const
    {
        if (!m_inkReport)
            return;
        QJsonObject object {{QStringLiteral("file"), m_pipeline.inputName()},
                            {QStringLiteral("ink"), toJson(*m_inkReport)}};
        printOut(m_pipeline.tellsJson()
                     ? QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n'
                     : (m_pipeline.inputName() + '\n' + toText(*m_inkReport)).toLocal8Bit());
    }

    void proof()
    {
        if (m_colors.proof.isEmpty())
            return;
        Progress &progress = m_pipeline.begin("proof");
        const vellum::Storage storage =
            m_pipeline.storageFor(m_picture.size(), rgbFormatFor(m_picture));
        Vellum result =
            proofed(m_picture, pixelProfile(m_picture), m_colors.proof, m_recipe.colors.conversion,
                    ProofWhite::Screen, storage, reportTo(progress));
        if (result.isNull())
            failColors();
        take(std::move(result), "proofed");
    }

    static ProgressGuard::Report reportTo(Progress &progress)
    {
        return [&progress](int percent) {
            progress.reportPart(percent, 100);
            return !cancelFlag();
        };
    }

    [[noreturn]] void failColors() const
    {
        if (cancelFlag())
            throw cancelled(m_pipeline.inputName());
        throw Failure(InputError, m_pipeline.inputName(),
                      QStringLiteral("its colours cannot be converted to those of the press"));
    }

    void convertColors()
    {
        if (!convertsHere())
            return;
        Progress &progress = m_pipeline.begin("convert");
        take(toProfile(m_picture, m_pipeline.inputName(), m_colors.profile,
                       m_recipe.colors.conversion, progress),
             "colours converted");
    }

    void convertPixels()
    {
        const FormatOptions &wanted = m_recipe.pixels;
        if (wanted.format == QImage::Format_Invalid)
            return;
        Progress &progress = m_pipeline.begin("convert");
        const vellum::Storage storage = m_pipeline.storageFor(m_picture.size(), wanted.format);
        take(watched(progress, ProgressGuard::Positions::Rows,
                     [&] { return converted(m_picture, wanted.format, wanted.flags(), storage); }),
             "format converted");
    }

    /// What \a operation, which reports to the picture, makes of it.
    template <typename Operation>
    Vellum watched(Progress &progress, ProgressGuard::Positions positions, Operation operation)
    {
        const ProgressGuard guard = progress.watch(m_picture, positions);
        return operation();
    }

    void take(Vellum result, const char *done)
    {
        m_picture = m_pipeline.finished(std::move(result), done);
    }

    const Recipe &m_recipe;
    const TargetColors &m_colors;
    Pipeline &m_pipeline;
    Vellum m_picture;
    std::optional<InkReport> m_inkReport;
    QSize m_readSize; // of what is read; empty if unknown
    bool m_cutsOnReading = false;
    bool m_scalesOnReading = false;
};

double parsedAngle(const std::string &option, const std::string &text)
{
    bool isNumber = false;
    const double angle = fromShell(text).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(angle))
        throw CLI::ValidationError(option, "'" + text + "' is no number of degrees");
    return angle;
}

QColor parsedColor(const std::string &option, const std::string &text)
{
    const QColor color(fromShell(text));
    if (!color.isValid()) {
        throw CLI::ValidationError(
            option, "'" + text + "' is no colour such as white, #ff8000 or transparent");
    }
    return color;
}

} // namespace

Command recipeCommand(CLI::App &command, const std::shared_ptr<RecipeOptions> &options)
{
    return {&command, [options] {
                const TargetColors colors = targetColors(options->recipe.colors);
                return runJobs(options->files, [&](Pipeline &pipeline) {
                    RecipeRun(options->recipe, colors, pipeline).run();
                });
            }};
}

CLI::Option *addAngleOption(CLI::App &command, const std::string &name, Recipe &recipe)
{
    return command
        .add_option_function<std::string>(
            name,
            [&recipe, name](const std::string &text) { recipe.angle = parsedAngle(name, text); },
            "Degrees, clockwise; negative ones turn the other way. Multiples of 90\n"
            "are exact, all else is sampled and makes the picture larger")
        ->type_name("DEGREES");
}

CLI::Option *addFillOption(CLI::App &command, const std::string &name, Recipe &recipe)
{
    return command
        .add_option_function<std::string>(
            name,
            [&recipe, name](const std::string &text) { recipe.fill = parsedColor(name, text); },
            "What a turned picture does not cover: a name, #RRGGBB, #AARRGGBB or\n"
            "transparent. Without it, pictures of 32 bits per pixel get transparent\n"
            "(black, if they know no transparency), others white, and those with a\n"
            "palette its first transparent colour, or its first")
        ->type_name("COLOUR");
}

} // namespace vellum::tool
