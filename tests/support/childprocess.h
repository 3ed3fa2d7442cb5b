// Tests of what happens once in a process.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

namespace vellum::test {

/// Runs \a body in a new process, where no image has been made yet; its failed expectations fail
/// the test.
template <typename Body>
void inFreshProcess(Body body)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the program is started again, not forked
    EXPECT_EXIT(
        {
            body();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace vellum::test
