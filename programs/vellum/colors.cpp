#include "colors.h"

#include "command.h"
#include "failure.h"
#include "profiles.h"

namespace vellum::tool {

void addColorOptions(CLI::App &command, ColorOptions &options)
{
    using Intent = RenderingIntent;
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
}

TargetColors targetColors(const ColorOptions &options)
{
    TargetColors target;
    if (options.toProfile.empty())
        return target;
    const QString name = fromShell(options.toProfile);
    target.profile = profileNamed(name);
    target.cmyk = describeProfile(target.profile).colorSpace == QLatin1String("CMYK");
    return target;
}

} // namespace vellum::tool
