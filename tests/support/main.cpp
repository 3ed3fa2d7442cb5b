// The main program of all tests. Its folder, that of the programs, holds the colour profiles.

#include <QCoreApplication>

#include <gtest/gtest.h>

#ifdef __SANITIZE_THREAD__
// Qt is not built for ThreadSanitizer, which therefore does not see how its pool locks its queue
// and ends its threads.
extern "C" const char *__tsan_default_suppressions() // NOLINT(*-reserved-identifier)
{
    return "race:QThreadPoolPrivate::enqueueTask\n"
           "race:QThreadPoolPrivate::reset\n"
           "race:QListData::realloc_grow\n" // its threads that have nothing to do
           "race:QWaitCondition::~QWaitCondition\n";
}
#endif

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
