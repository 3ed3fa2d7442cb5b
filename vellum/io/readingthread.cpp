#include <vellum/image/derived_p.h>
#include <vellum/image/heldattachments_p.h>
#include <vellum/io/picturecolors_p.h>
#include <vellum/io/readingthread_p.h>

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

namespace vellum::io {

namespace {

using Side = RowHandover::Side;

} // namespace

OpenResult cancelledReading(OpenResult result)
{
    result.status = FileStatus::Cancelled;
    result.message = QStringLiteral("cancelled");
    return result;
}

ReadingThread::ReadingThread(Decoder &decoder, const OpenOptions &options, const RowFlow &flow,
                             const image::RowWindow &window, RowHandover &handover)
    : m_decoder(decoder), m_options(options), m_flow(flow), m_window(window), m_handover(handover),
      m_progress([this](int) { return goesOn(); }, nullptr, Vellum())
{
}

ReadingThread::~ReadingThread() { end(); }

bool ReadingThread::start()
{
    if (!m_window.show(m_image) || !m_window.show(m_described))
        return false;
    m_height = m_image.height();
    m_progress.beginStage(100);
    m_progress.gateRows([this](int rows) { return makeRoom(rows - 1); });
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error &) {
        return false;
    }
    return true;
}

OpenResult ReadingThread::finish()
{
    end();
    if (m_exception)
        std::rethrow_exception(std::exchange(m_exception, nullptr));
    return m_result;
}

void ReadingThread::end()
{
    if (!m_thread.joinable())
        return;
    m_handover.stop(Side::User);
    m_thread.join();
}

bool ReadingThread::goesOn()
{
    m_isCancelled = m_isCancelled || (m_options.cancel && *m_options.cancel);
    return !m_isCancelled && !m_handover.isStopped();
}

void ReadingThread::run()
try {
    if (decode())
        m_handover.finish(m_height);
    else
        m_handover.stop(Side::Maker);
    const image::HeldAttachments released(m_image);
} catch (...) {
    m_exception = std::current_exception();
    m_handover.stop(Side::Maker);
}

bool ReadingThread::decode()
{
    const FileStatus status = m_decoder.read(m_image, m_progress, m_result.rowsRead);
    if (!goesOn()) {
        m_result = cancelledReading(m_result);
        return false;
    }
    if (status == FileStatus::OutOfMemory)
        return fail(status, QStringLiteral("not enough memory for the picture"));
    if (status == FileStatus::Damaged) {
        static_cast<void>(fail(status, damage(m_decoder)));
        return m_options.keepDamaged && clearRest();
    }
    if (m_begun < m_height || !isWindow(m_image))
        return fail(FileStatus::Damaged, QStringLiteral("its plugin gave other rows than asked"));
    return true;
}

bool ReadingThread::fail(FileStatus status, const QString &message)
{
    m_result.status = status;
    m_result.message = message;
    return false;
}

/// The rows that did not come, and the one that may have come in part, are zeros.
bool ReadingThread::clearRest()
{
    if (!isWindow(m_image))
        return false;
    const auto bytes = size_t(m_image.bytesPerLine());
    for (int row = std::max({0, m_begun - 1, m_result.rowsRead}); row < m_height; ++row) {
        if (!makeRoom(row))
            return false;
        const int y = m_flow.order == RowOrder::TopDown ? row : m_height - 1 - row;
        std::memset(m_image.scanLineEx(y), 0, bytes);
    }
    return true;
}

/// Rows before \a row have been made, in their order; waits until that one can be.
bool ReadingThread::makeRoom(int row)
{
    if (m_begun == 0) {
        if (!isWindow(m_image))
            return false;
        describe();
    }
    m_begun = qMax(m_begun, row + 1);
    return m_handover.waitForRoom(row);
}

/// A decoder may have given the image rows of its own.
bool ReadingThread::isWindow(const Vellum &image) const
{
    return image.isBigImage() && image.size() == m_described.size() &&
        image.format() == m_described.format() && image.scanLineEx(0) == m_described.scanLineEx(0);
}

void ReadingThread::describe()
{
    image::carryDescription(m_described, m_image);
    image::copyExif(m_described, m_image);
    m_result.colors = claimColors(m_described);
}

} // namespace vellum::io
