// What the exit codes mean, in words.
#pragma once

#include "failure.h"

namespace vellum::tool {

struct ExitMeaning
{
    int code;
    const char *shortly; ///< for the help
    const char *meaning; ///< for the manual
};

constexpr ExitMeaning kExitMeanings[] = {
    {Done, "done", "All was done."},
    {UsageError, "wrong usage", "The command line cannot be understood; nothing was done."},
    {InputError, "an input cannot be read",
     "An input does not exist, is no picture or is damaged."},
    {OutputError, "the output cannot be written",
     "The output cannot be written; an existing file is as it was."},
    {OverLimit, "over the limit", "The pixels of a picture would take more memory than the limit."},
    {Partial, "done in part",
     "Some of several inputs could not be worked on, or only part of one."},
    {Different, "different", "Pictures that were compared are different."},
    {WasCancelled, "cancelled", "Cancelled by Ctrl-C or a signal; an existing file is as it was."},
};

} // namespace vellum::tool
