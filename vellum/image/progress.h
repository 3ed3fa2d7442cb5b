// Progress reporting and cancelling, beyond the callback that an image stores.
#pragma once

#include <vellum/export.h>

#include <QtGlobal>

#include <atomic>
#include <functional>
#include <memory>

class Vellum;

/// Reports \a position rows done on \a image; true when the operation should go on.
///
/// The same as <tt>image->set_progress(position)</tt>, and true for a null \a image.
VELLUM_EXPORT bool image_progress(const Vellum *image, int position);

namespace vellum {

/// Hangs a C++ callable on the progress callback of an image for as long as the guard lives.
///
/// \code
/// std::atomic<bool> cancel { false }; // set by another thread, or by a signal handler
/// vellum::ProgressGuard guard(image, [](int percent) { return show(percent); }, &cancel);
/// const bool done = HrleHandler().writeStream(stream, image) && !guard.cancelled();
/// \endcode
///
/// The callable is called on the thread that runs the operation, once per poll, which usually
/// means once per row. It gets the percentage that Vellum::set_progress works out and answers
/// true to go on. Once it has answered false, or \a cancel has been seen set, every later poll is
/// answered false without asking again.
///
/// The destructor puts back the callback that the image had. The image must outlive the guard,
/// and must not be given another callback meanwhile.
class VELLUM_EXPORT ProgressGuard
{
    Q_DISABLE_COPY(ProgressGuard)

public:
    using Report = std::function<bool(int percent)>;

    /// What the operation hands to Vellum::set_progress, which takes it for a number of rows.
    enum class Positions {
        Rows, ///< rows done: row access and all that is not named below
        Percent, ///< 0 to 100: mirroring and rotation
    };

    /// \param image   the image whose operations are watched
    /// \param report  called at every poll; may be empty
    /// \param cancel  looked at before every call; may be null, must outlive the guard
    /// \param base    percentage added to every reported value
    /// \param scale   factor on the reported fraction: base 50 and scale 0.5 make this operation
    ///                the second half of a longer one
    /// \param positions  what the operation hands over. With Percent the callable gets 0 to 100
    ///                (before base and scale), provided that \a image keeps its height; with Rows
    ///                it would get percentages of percentages
    explicit ProgressGuard(Vellum &image, Report report, const std::atomic<bool> *cancel = nullptr,
                           int base = 0, double scale = 1.0, Positions positions = Positions::Rows);
    ~ProgressGuard();

    /// True once a poll has been answered with "stop".
    bool cancelled() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace vellum
