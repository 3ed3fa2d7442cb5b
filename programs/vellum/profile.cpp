// vellum profile: what a colour profile says about itself.

#include "command.h"
#include "failure.h"
#include "outputfile.h"
#include "printing.h"
#include "profiles.h"
#include "reading.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>

namespace vellum::tool {

namespace {

struct Options
{
    std::string file;
    std::string extract;
    bool json = false;
};

QString intentName(RenderingIntent intent)
{
    switch (intent) {
    case RenderingIntent::Perceptual:
        return QStringLiteral("perceptual");
    case RenderingIntent::RelativeColorimetric:
        return QStringLiteral("relative");
    case RenderingIntent::Saturation:
        return QStringLiteral("saturation");
    case RenderingIntent::AbsoluteColorimetric:
        return QStringLiteral("absolute");
    }
    return {};
}

/// The profile in, or that is, the file \a fileName.
QByteArray profileOf(const QString &fileName)
{
    if (const auto icc = readIccFile(fileName))
        return *icc;
    PictureReader reader(fileName);
    Progress silent(Progress::Mode::None, fileName);
    const QByteArray icc = embeddedProfile(reader.read(silent));
    if (icc.isEmpty())
        throw Failure(InputError, fileName, QStringLiteral("has no colour profile"));
    return icc;
}

QByteArray asJson(const QString &fileName, int bytes, const ProfileInfo &info)
{
    QJsonArray intents;
    for (const RenderingIntent intent : info.intents)
        intents.append(intentName(intent));
    QJsonObject object {
        {QStringLiteral("file"), fileName},
        {QStringLiteral("bytes"), bytes},
        {QStringLiteral("description"), info.description},
        {QStringLiteral("colorSpace"), info.colorSpace},
        {QStringLiteral("connectionSpace"), info.connectionSpace},
        {QStringLiteral("version"), info.version},
        {QStringLiteral("class"), info.deviceClass},
        {QStringLiteral("intents"), intents},
    };
    if (info.whitePoint) {
        object.insert(QStringLiteral("whitePoint"),
                      QJsonArray {info.whitePoint->x, info.whitePoint->y, info.whitePoint->z});
    }
    if (info.inkLimit)
        object.insert(QStringLiteral("inkLimit"), *info.inkLimit);
    return QJsonDocument(object).toJson();
}

QByteArray asText(const QString &fileName, int bytes, const ProfileInfo &info)
{
    QStringList intents;
    for (const RenderingIntent intent : info.intents)
        intents.append(intentName(intent));
    const auto number = [](double value) { return QString::number(value, 'f', 4); };
    QString text =
        QStringLiteral("%1\n"
                       "  description  %2\n"
                       "  size         %3 bytes\n"
                       "  version      %4\n"
                       "  class        %5\n"
                       "  colours      %6, connected through %7\n"
                       "  intents      %8\n")
            .arg(fileName, info.description, QString::number(bytes), info.version, info.deviceClass,
                 info.colorSpace, info.connectionSpace, intents.join(QStringLiteral(", ")));
    if (info.whitePoint) {
        text += QStringLiteral("  white        X %1, Y %2, Z %3\n")
                    .arg(number(info.whitePoint->x), number(info.whitePoint->y),
                         number(info.whitePoint->z));
    }
    if (info.inkLimit)
        text += QStringLiteral("  ink limit    %1 %\n").arg(qRound(*info.inkLimit));
    return text.toLocal8Bit();
}

int run(const Options &options)
{
    const QString fileName = fromShell(options.file);
    const QByteArray icc = profileOf(fileName);
    const ProfileInfo info = describeProfile(icc);
    if (!info.isValid())
        throw Failure(InputError, fileName, info.problem);
    if (!options.extract.empty()) {
        OutputFile output(fromShell(options.extract));
        if (output.device()->write(icc) != icc.size())
            output.fail(QStringLiteral("the profile cannot be written"));
        output.commit();
    }
    printOut((options.json ? asJson : asText)(fileName, icc.size(), info));
    return Done;
}

} // namespace

Command profileCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("profile", "Describe a picture's colour profile, or an ICC file");
    command->add_option("FILE", options->file, "A picture, or an ICC profile (.icc, .icm)")
        ->required();
    command->add_option("--extract", options->extract, "Write the profile to this file")
        ->type_name("OUT.icc");
    command->add_flag("--json", options->json, "Print a JSON object");
    addVerboseOption(*command);
    command->footer("Example:\n"
                    "  vellum profile --extract camera.icc photo.jpg");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
