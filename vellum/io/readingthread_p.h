// A picture that is decoded on a thread of its own, into a window of rows.
#pragma once

#include <vellum/image/rowwindow_p.h>
#include <vellum/io/decoder_p.h>
#include <vellum/io/jobprogress_p.h>
#include <vellum/io/openimage.h>
#include <vellum/io/rowhandover_p.h>

#include <exception>
#include <thread>

namespace vellum::io {

/// \a result of a reading that somebody has cancelled.
[[nodiscard]] OpenResult cancelledReading(OpenResult result);

/// The reading side of a handover of rows.
class ReadingThread
{
    Q_DISABLE_COPY(ReadingThread)

public:
    /// \param flow    what \a decoder will do, with an image of the size of \a window
    /// \param window  of that format; all must outlive this
    ReadingThread(Decoder &decoder, const OpenOptions &options, const RowFlow &flow,
                  const image::RowWindow &window, RowHandover &handover);
    ~ReadingThread(); ///< Stops reading.

    /// \return false when there is no memory or no thread for it
    [[nodiscard]] bool start();

    /// An image that describes the picture and shows the window. Once the first row is about to
    /// be made it is nobody's but the caller's.
    Vellum &image() { return m_described; }

    /// Stops reading, if it still goes on, and throws what it threw.
    OpenResult finish();

private:
    void end();
    bool goesOn();
    void run();
    bool decode();
    bool fail(FileStatus status, const QString &message);
    bool clearRest();
    bool makeRoom(int row);
    void describe();
    bool isWindow(const Vellum &image) const;

    Decoder &m_decoder;
    const OpenOptions &m_options;
    const RowFlow m_flow;
    const image::RowWindow &m_window;
    RowHandover &m_handover;
    JobProgress m_progress; // listened to by this object only
    Vellum m_image; // that the decoder fills
    Vellum m_described;
    int m_height = 0;
    int m_begun = 0; // rows
    bool m_isCancelled = false;
    OpenResult m_result;
    std::exception_ptr m_exception;
    std::thread m_thread;
};

} // namespace vellum::io
