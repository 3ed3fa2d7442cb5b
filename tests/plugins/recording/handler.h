// The handler of both recording plugins, and what the plugins answer.
#pragma once

#include <QImageIOHandler>
#include <QImageIOPlugin>

#include <plugins/recording/recorder.h>

namespace vellum::test {

class RecordingHandler : public QImageIOHandler
{
public:
    /// \a behaviour must outlive the handler.
    RecordingHandler(const char *plugin, const Behaviour &behaviour);
    ~RecordingHandler() override;

    bool canRead() const override;
    bool read(QImage *image) override;
    bool write(const QImage &image) override;
    QVariant option(ImageOption option) const override;
    void setOption(ImageOption option, const QVariant &value) override;
    bool supportsOption(ImageOption option) const override;
    int imageCount() const override { return m_behaviour.pages; }
    bool jumpToImage(int page) override;

private:
    Call call(Asked asked) const;

    const char *m_plugin;
    const Behaviour &m_behaviour;
    QMap<int, QVariant> m_set;
    int m_page = 0;
};

/// Answers of the plugin \a name, recorded.
QImageIOPlugin::Capabilities recordedCapabilities(const char *name, const Behaviour &behaviour,
                                                  QIODevice *device, const QByteArray &format);
QImageIOHandler *recordedHandler(const char *name, const Behaviour &behaviour, QIODevice *device,
                                 const QByteArray &format);

} // namespace vellum::test
