#include "colors.h"

#include "command.h"
#include "failure.h"
#include "pixelcolors.h"
#include "profiles.h"

namespace vellum::tool {

namespace {

QByteArray pressNamed(const std::string &name)
{
    const QByteArray press = profileNamed(fromShell(name));
    if (!isCmykProfile(press))
        throw Failure(UsageError, fromShell(name),
                      QStringLiteral("is no profile of a press (CMYK)"));
    return press;
}

} // namespace

void addColorOptions(CLI::App &command, ColorOptions &options)
{
    using Intent = RenderingIntent;
    CLI::Option *const target =
        command
            .add_option("--to-profile", options.toProfile,
                        "Convert the colours to this profile: srgb, cmyk (the press that comes\n"
                        "with vellum), or an ICC file, for CMYK in JPEG and TIFF files. From\n"
                        "the picture's own profile, or sRGB when it has none")
            ->type_name("FILE|srgb|cmyk");
    addChoice(command, "--intent", options.conversion.intent,
              {{"perceptual", Intent::Perceptual},
               {"relative", Intent::RelativeColorimetric},
               {"saturation", Intent::Saturation},
               {"absolute", Intent::AbsoluteColorimetric}},
              "What becomes of colours that the profile does not have\n"
              "(perceptual is the default)");
    addChoice(command, "--black-point", options.conversion.blackPointCompensation,
              {{"off", false}, {"on", true}},
              "on: the darkest colour becomes the darkest of the profile (off is\n"
              "the default)");
    command
        .add_option("--proof", options.proof,
                    "Show in sRGB what the press of this CMYK profile makes of the\n"
                    "picture, with its paper as white: cmyk, or an ICC file")
        ->excludes(target)
        ->type_name("FILE|cmyk");
    command.add_flag("--ink-report", options.inkReport,
                     "Tell the largest and mean amount of ink on the press of --to-profile\n"
                     "or --proof, or else of cmyk");
}

TargetColors targetColors(const ColorOptions &options)
{
    TargetColors target;
    if (!options.toProfile.empty()) {
        target.profile = profileNamed(fromShell(options.toProfile));
        target.cmyk = isCmykProfile(target.profile);
    }
    if (!options.proof.empty())
        target.proof = pressNamed(options.proof);
    if (options.inkReport) {
        target.measured = target.cmyk ? target.profile
            : !target.proof.isEmpty() ? target.proof
                                      : pressNamed("cmyk");
    }
    return target;
}

} // namespace vellum::tool
