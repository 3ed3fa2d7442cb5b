// vellum convert: a picture into a file of another kind.

#include "command.h"
#include "failure.h"
#include "pipeline.h"
#include "pixelformat.h"
#include "profiles.h"

#include <memory>

namespace vellum::tool {

namespace {

struct Options
{
    FileOptions files;
    std::string toProfile; // empty: the colours stay as they are
    ColorConversion conversion;
    FormatOptions pixels;
};

/// The colours to convert to.
struct TargetColors
{
    QByteArray profile; ///< empty for none
    bool cmyk = false; ///< those of the press, which only files have
};

TargetColors targetColors(const Options &options)
{
    TargetColors target;
    if (options.toProfile.empty())
        return target;
    const QString name = fromShell(options.toProfile);
    target.profile = profileNamed(name);
    if (describeProfile(target.profile).colorSpace != QLatin1String("CMYK"))
        return target;
    if (name != QLatin1String("cmyk"))
        throw Failure(UsageError, name, QStringLiteral("the only CMYK that is written is cmyk"));
    const ColorConversion &conversion = options.conversion;
    if (conversion.intent != RenderingIntent::Perceptual || conversion.blackPointCompensation) {
        throw Failure(UsageError, name,
                      QStringLiteral("made with --intent perceptual and --black-point off only"));
    }
    return {{}, true};
}

/// \a picture in the format that the user asks for.
Vellum formatted(Vellum &picture, const FormatOptions &wanted, Pipeline &pipeline)
{
    const ProgressGuard guard = pipeline.begin("convert").watch(picture);
    return pipeline.finished(converted(picture, wanted.format, wanted.flags(),
                                       pipeline.storageFor(picture.size(), wanted.format)),
                             "format converted");
}

int run(const Options &options)
{
    const TargetColors target = targetColors(options);
    Pipeline pipeline(options.files);
    pipeline.checkFits(pipeline.header().size);
    Vellum picture = pipeline.read();
    pipeline.checkFits(picture.size()); // not every header tells it
    if (!target.profile.isEmpty()) {
        const QString name = fromShell(options.files.input);
        picture = pipeline.finished(toProfile(picture, name, target.profile, options.conversion,
                                              pipeline.begin("convert", 60)),
                                    "colours converted");
    }
    if (options.pixels.format != QImage::Format_Invalid)
        picture = formatted(picture, options.pixels, pipeline);
    pipeline.saveAsCmyk(target.cmyk);
    pipeline.write(picture);
    return Done;
}

} // namespace

Command convertCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("convert", "Write a picture as a file of another kind");
    addFiles(*command, options->files);
    addFormatOptions(*command, options->pixels);
    using Intent = RenderingIntent;
    command
        ->add_option("--to-profile", options->toProfile,
                     "Convert the colours to this profile: srgb, cmyk (the press of\n"
                     "share/color/icc, in JPEG and TIFF files), or an ICC file. From the\n"
                     "picture's own profile, or sRGB when it has none")
        ->type_name("FILE|srgb|cmyk");
    addChoice(*command, "--intent", options->conversion.intent,
              {{"perceptual", Intent::Perceptual},
               {"relative", Intent::RelativeColorimetric},
               {"saturation", Intent::Saturation},
               {"absolute", Intent::AbsoluteColorimetric}},
              "What becomes of colours that the profile does not have\n"
              "(perceptual is the default)");
    addChoice(*command, "--black-point", options->conversion.blackPointCompensation,
              {{"off", false}, {"on", true}},
              "on: the darkest colour becomes the darkest of the profile (off is\n"
              "the default)");
    command->footer("OUT appears when it is complete; until then, an existing file stays as it "
                    "is.\n\n"
                    "Formats:\n" +
                    formatNames() +
                    "\n\n"
                    "Example:\n"
                    "  vellum convert photo.jpg photo.hrle\n"
                    "  vellum convert --storage big --progress bar mask.hrle mask.png\n"
                    "  vellum convert --to-profile cmyk photo.jpg print.tif\n"
                    "  vellum convert --format mono --dither ordered photo.jpg print.png");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
