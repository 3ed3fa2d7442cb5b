#include <vellum/vellum.h>

#include <plugins/recording/handler.h>

namespace vellum::test {

namespace {

bool holdsTestImage(QIODevice *device)
{
    return device && device->isReadable() && device->peek(qstrlen(kTestImage)) == kTestImage;
}

Call makeCall(const char *plugin, Asked asked, const QIODevice *device, const QByteArray &format)
{
    Call call;
    call.plugin = plugin;
    call.asked = asked;
    call.device = device;
    call.mode = device ? device->openMode() : QIODevice::NotOpen;
    call.format = format;
    return call;
}

void describe(Call &call, const QImage *image)
{
    call.image = image;
    call.size = image->size();
    call.imageFormat = image->format();
    const Vellum *const vellum = Vellum::getVellum(const_cast<QImage *>(image));
    if (!vellum)
        return;
    call.isVellum = true;
    call.isBig = vellum->isBigImage();
    call.readOptions = vellum->getReadOptions();
    call.profile = vellum->getIccProfile();
    call.saveAsCmyk = vellum->getSaveAsCmyk();
    call.hasCmykTransform = vellum->hasSaveCmykTransform();
}

} // namespace

RecordingHandler::RecordingHandler(const char *plugin, const Behaviour &behaviour)
    : m_plugin(plugin), m_behaviour(behaviour)
{
}

RecordingHandler::~RecordingHandler()
{
    // The device may be gone already.
    recorder().calls.push_back(makeCall(m_plugin, Asked::Delete, nullptr, QByteArray()));
}

Call RecordingHandler::call(Asked asked) const
{
    Call made = makeCall(m_plugin, asked, device(), format());
    made.page = m_page;
    return made;
}

bool RecordingHandler::canRead() const { return holdsTestImage(device()); }

bool RecordingHandler::read(QImage *image)
{
    Call made = call(Asked::Read);
    describe(made, image);
    recorder().calls.push_back(made);
    return m_behaviour.read && m_behaviour.read(image);
}

bool RecordingHandler::write(const QImage &image)
{
    Call made = call(Asked::Write);
    describe(made, &image);
    recorder().calls.push_back(made);
    if (m_behaviour.write)
        return m_behaviour.write(image, device());
    if (device() && device()->isWritable())
        device()->write("written");
    return true;
}

QVariant RecordingHandler::option(ImageOption option) const
{
    Call made = call(Asked::Option);
    made.option = option;
    made.value = m_behaviour.values.value(option, m_set.value(option));
    recorder().calls.push_back(made);
    return made.value;
}

void RecordingHandler::setOption(ImageOption option, const QVariant &value)
{
    Call made = call(Asked::SetOption);
    made.option = option;
    made.value = value;
    recorder().calls.push_back(made);
    m_set[option] = value;
}

bool RecordingHandler::supportsOption(ImageOption option) const
{
    Call made = call(Asked::Supports);
    made.option = option;
    recorder().calls.push_back(made);
    return m_behaviour.options.contains(option);
}

bool RecordingHandler::jumpToImage(int page)
{
    if (page < 0 || page >= m_behaviour.pages)
        return false;
    m_page = page;
    return true;
}

QImageIOPlugin::Capabilities recordedCapabilities(const char *name, const Behaviour &behaviour,
                                                  QIODevice *device, const QByteArray &format)
{
    recorder().calls.push_back(makeCall(name, Asked::Capabilities, device, format));
    QImageIOPlugin::Capabilities capabilities;
    if (behaviour.reads && holdsTestImage(device))
        capabilities |= QImageIOPlugin::CanRead;
    if (behaviour.writes.contains(format))
        capabilities |= QImageIOPlugin::CanWrite;
    return capabilities;
}

QImageIOHandler *recordedHandler(const char *name, const Behaviour &behaviour, QIODevice *device,
                                 const QByteArray &format)
{
    recorder().calls.push_back(makeCall(name, Asked::Create, device, format));
    auto *const handler = new RecordingHandler(name, behaviour);
    // Whoever asked sets the device.
    if (holdsTestImage(device))
        handler->setFormat(device->peek(100).split(' ').value(1).trimmed());
    return handler;
}

} // namespace vellum::test
