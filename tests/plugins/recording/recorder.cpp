#include <plugins/recording/recorder.h>

namespace vellum::test {

Recorder &recorder()
{
    static Recorder recorder;
    return recorder;
}

} // namespace vellum::test
