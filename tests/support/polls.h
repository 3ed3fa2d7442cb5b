// What an operation tells the progress callback of an image.
#pragma once

#include <vellum/vellum.h>

#include <vector>

namespace vellum::test {

/// Keeps the percentages reported by an image, and answers "stop" at one of them. Must outlive
/// the image's last poll.
struct Polls
{
    std::vector<int> percents;
    size_t stopAt = size_t(-1); ///< index of the poll that is answered "stop"

    void attach(Vellum &image)
    {
        image.setCallback(
            [](void *self, int percent, void *) {
                auto &polls = *static_cast<Polls *>(self);
                polls.percents.push_back(percent);
                return polls.percents.size() - 1 != polls.stopAt;
            },
            this, 0, 1.0);
    }
};

} // namespace vellum::test
