#include <vellum/io/pagerequest_p.h>
#include <vellum/io/upright_p.h>

namespace vellum::io {

namespace {

using Option = QImageIOHandler::ImageOption;

OpenResult notFound(const QString &message)
{
    OpenResult result;
    result.status = FileStatus::NotFound;
    result.message = message;
    return result;
}

} // namespace

OpenResult noSuchPage(int page) { return notFound(QStringLiteral("it has no page %1").arg(page)); }

PageRequest::PageRequest(Decoder &decoder, const OpenOptions &options)
    : m_decoder(decoder), m_options(options)
{
}

OpenResult PageRequest::make()
{
    const bool found = m_options.page >= 0 && m_decoder.goTo(m_options.page);
    m_info = m_decoder.info();
    m_decodedSize = m_info.size;
    if (!found || (m_options.page > 0 && m_options.page >= m_info.pages))
        return noSuchPage(m_options.page);
    if (!m_options.region.isNull()) {
        const QRect all(QPoint(), uprightSize(m_info.size, m_info.transformation));
        if (!m_info.size.isEmpty() && !all.contains(m_options.region))
            return notFound(QStringLiteral("the region is not inside it"));
        m_hasRegion = !m_info.size.isEmpty() &&
            m_decoder.setOption(Option::ClipRect, storedRegion(m_info.size));
        m_cuts = !m_hasRegion;
        if (m_hasRegion)
            m_decodedSize = storedRegion(m_info.size).size();
    }
    if (!m_options.size.isEmpty()) {
        const QSize size = uprightSize(m_options.size, m_info.transformation);
        m_hasSize = !m_cuts && m_decoder.setOption(Option::ScaledSize, size);
        m_scales = !m_hasSize;
        if (m_hasSize)
            m_decodedSize = size;
    }
    return {};
}

void PageRequest::withdraw()
{
    if (m_hasRegion)
        static_cast<void>(m_decoder.setOption(Option::ClipRect, QRect()));
    if (m_hasSize)
        static_cast<void>(m_decoder.setOption(Option::ScaledSize, QSize()));
}

QRect PageRequest::storedRegion(const QSize &size) const
{
    return io::storedRegion(m_options.region, size, m_info.transformation);
}

} // namespace vellum::io
