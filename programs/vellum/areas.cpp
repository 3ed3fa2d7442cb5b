#include "areas.h"

#include "cancel.h"
#include "command.h"
#include "progress.h"
#include "rows.h"

#include <QRegularExpression>

#include <cstring>

namespace vellum::tool {

namespace {

// Keeps the far edges of every area within int.
constexpr qint64 kFarthest = 1 << 30;

constexpr qint64 kBandBytes = 1 << 20;

} // namespace

QRect parsedArea(const std::string &option, const std::string &text)
{
    static const QRegularExpression form(
        QStringLiteral("^(-?\\d{1,10}),(-?\\d{1,10}),(\\d{1,10}),(\\d{1,10})$"));
    const QRegularExpressionMatch match = form.match(fromShell(text));
    const auto number = [&](int i) { return match.captured(i).toLongLong(); };
    const auto isNear = [&](int i) { return qAbs(number(i)) <= kFarthest; };
    const QRect area(int(number(1)), int(number(2)), int(number(3)), int(number(4)));
    if (!isNear(1) || !isNear(2) || !isNear(3) || !isNear(4) || area.isEmpty())
        throw CLI::ValidationError(option, "'" + text + "' is no area such as 10,20,300,200");
    return area;
}

QPoint parsedPoint(const std::string &option, const std::string &text)
{
    static const QRegularExpression form(QStringLiteral("^(-?\\d{1,10}),(-?\\d{1,10})$"));
    const QRegularExpressionMatch match = form.match(fromShell(text));
    const qint64 x = match.captured(1).toLongLong();
    const qint64 y = match.captured(2).toLongLong();
    if (!match.hasMatch() || qAbs(x) > kFarthest || qAbs(y) > kFarthest)
        throw CLI::ValidationError(option, "'" + text + "' is no point such as 10,20");
    return {int(x), int(y)};
}

std::string takenNumbers(std::vector<std::string> &words, int count)
{
    std::string numbers;
    if (int(words.size()) < count)
        return numbers;
    for (auto word = words.end() - count; word != words.end(); ++word)
        numbers += (numbers.empty() ? "" : ",") + *word;
    words.erase(words.end() - count, words.end());
    return numbers;
}

void addAreaOption(CLI::App &command, const std::string &name, QRect &area,
                   const std::string &description)
{
    command
        .add_option_function<std::string>(
            name, [&area, name](const std::string &text) { area = parsedArea(name, text); },
            description)
        ->type_name("X,Y,W,H");
}

// Band by band: copyEx() reports no progress, and knows no big results.
Vellum cropped(const Vellum &picture, const QRect &area, vellum::Storage storage,
               Progress &progress)
{
    Vellum result;
    const auto create = storage == vellum::Storage::Big ? Vellum::createBig : Vellum::create;
    if (!create(result, area.width(), area.height(), picture.format()))
        return {};
    copyMetadata(result, picture);

    const qint64 bytes = (qint64(area.width()) * picture.depth() + 7) / 8;
    const int rowsPerBand = int(qBound<qint64>(1, kBandBytes / bytes, area.height()));
    for (int top = 0; top < area.height(); top += rowsPerBand) {
        const int rows = qMin(rowsPerBand, area.height() - top);
        const Vellum band = picture.copyEx(area.x(), area.y() + top, area.width(), rows);
        if (cancelFlag() || band.isNull())
            return {};
        for (int y = 0; y < rows; ++y)
            std::memcpy(result.scanLineEx(top + y), band.scanLineEx(y), size_t(bytes));
        progress.reportPart(top + rows, area.height());
    }
    return result;
}

} // namespace vellum::tool
