// Random sequences of what makes, shares, changes and destroys images, against a model that knows
// what each of them shows. AddressSanitizer watches the memory.

#include <rapidcheck.h>

#include <array>
#include <memory>
#include <optional>
#include <support/images.h>
#include <support/messages.h>
#include <tuple>
#include <utility>
#include <vector>

using namespace vellum::test;

namespace {

constexpr auto kFormat = QImage::Format_Grayscale8;
constexpr int kUnknown = -1; // a byte that nobody has written

/// The bytes of a row-block store, or of the pixels of a plain image.
using Rows = std::vector<std::vector<int>>;

std::shared_ptr<Rows> newRows(int count, int bytes)
{
    return std::make_shared<Rows>(size_t(count), std::vector<int>(size_t(bytes), kUnknown));
}

/// What images share as one QImageData.
struct Data
{
    int width;
    int height;
    std::shared_ptr<Rows> pixels; // null for the base of a big image, which is not looked at
    QString text;
    std::shared_ptr<Data> owner; // of the pixels, when this data has only its own metadata
    bool readOnly;
};

std::shared_ptr<Data> newBase(int width, int height)
{
    return std::make_shared<Data>(Data {width, height, {}, {}, {}, false});
}

std::shared_ptr<Data> newPlain(int width, int height)
{
    return std::make_shared<Data>(Data {width, height, newRows(height, width), {}, {}, false});
}

/// What QImage does before it changes data that is shared.
void detach(std::shared_ptr<Data> &data)
{
    if (data.use_count() > 1 || data->readOnly) {
        data = std::make_shared<Data>(Data {data->width,
                                            data->height,
                                            std::make_shared<Rows>(*data->pixels),
                                            data->text,
                                            {},
                                            false});
    }
}

struct Model
{
    std::shared_ptr<Data> data; // null for a null image
    std::shared_ptr<Rows> store; // null unless big
    QByteArray profile;
};

struct Variable
{
    std::optional<Vellum> image;
    Model model;
};

struct PlainVariable
{
    QImage image;
    std::shared_ptr<Data> data;
};

/// Writes all bytes that an image with rows \a expected can reach, and notes them.
template <typename Image>
void writeRows(Image &image, Rows &expected, int bytes, int number)
{
    for (int y = 0; y < qMin(image.height(), int(expected.size())); ++y) {
        uchar *const row = image.scanLine(y);
        RC_ASSERT(row != nullptr);
        std::vector<int> &known = expected[size_t(y)];
        for (int i = 0; i < qMin(bytes, int(known.size())); ++i)
            known[size_t(i)] = row[i] = uchar(number * 7 + y * 3 + i);
    }
}

template <typename Image>
void checkRows(const Image &image, const Rows &expected, int bytes)
{
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const row = image.scanLine(y);
        RC_ASSERT((row != nullptr) == (y < int(expected.size())));
        for (int i = 0; row && i < qMin(bytes, int(expected[size_t(y)].size())); ++i) {
            const int known = expected[size_t(y)][size_t(i)];
            RC_ASSERT(known == kUnknown || known == row[i]);
        }
    }
}

using Step = std::tuple<int, int, int, int>; // operation, target, source, a number

class Machine
{
public:
    static constexpr int kVariables = 4;
    static constexpr int kOperations = 23;

    void run(const Step &step)
    {
        const auto [operation, target, source, number] = step;
        Variable &to = m_images[size_t(target)];
        Variable &from = m_images[size_t(source)];
        PlainVariable &plain = m_plains[size_t(source) % m_plains.size()];
        if (operation < 3)
            make(to, operation, 1 + number % 9, 1 + number % 23);
        else if (operation == 3)
            makePlain(plain, 1 + number % 9, 1 + number % 23);
        else if (to.image)
            change(operation, to, from, plain, number);
        if (operation < 10 && to.image)
            write(to, number);
    }

    void check() const
    {
        for (const Variable &variable : m_images) {
            if (variable.image)
                check(*variable.image, variable.model);
        }
        for (const PlainVariable &plain : m_plains) {
            RC_ASSERT(plain.image.isNull() == !plain.data);
            if (plain.data)
                RC_ASSERT(plain.image.isDetached() == (plain.data.use_count() == 1));
            if (plain.data && plain.data->pixels)
                checkRows(std::as_const(plain.image), *plain.data->pixels, plain.data->width);
        }
    }

private:
    static void make(Variable &to, int operation, int width, int height)
    {
        if (operation == 0) {
            to.image.emplace(width, height, kFormat);
            to.model = {newPlain(width, height), {}, {}};
        } else if (operation == 1) {
            to.image.emplace(makeUntouchable(width, height, kFormat));
            to.model = {newBase(width, height), {}, {}};
            allocate(to, to.image->bytesPerLine(), height);
        } else {
            if (!to.image)
                to.image.emplace();
            RC_ASSERT(Vellum::createBig(*to.image, width, height, kFormat));
            to.model.data = newBase(width, height);
            to.model.store = newRows(height, to.image->bytesPerLine());
        }
    }

    static void makePlain(PlainVariable &plain, int width, int height)
    {
        plain.image = QImage(width, height, kFormat);
        plain.data = newPlain(width, height);
        writeRows(plain.image, *plain.data->pixels, width, width + height);
    }

    static void change(int operation, Variable &to, Variable &from, PlainVariable &plain,
                       int number)
    {
        switch (operation) {
        case 4:
            allocate(to, number % 40, number % 31);
            break;
        case 5:
            RC_ASSERT(Vellum::create(*to.image, 1 + number % 9, 1 + number % 23, kFormat));
            to.model.data = newPlain(1 + number % 9, 1 + number % 23);
            to.model.store.reset();
            break;
        case 6:
        case 7:
            break; // written to by the caller
        case 10:
            to.image.reset();
            to.model = {};
            break;
        case 11:
            RC_ASSERT(!to.image->alloc_buffer(-1, number));
            to.model.store.reset();
            if (to.model.data.use_count() == 1)
                to.model.data.reset();
            break;
        case 12:
        case 13:
            setText(to, QString::number(number));
            break;
        case 14:
            plain.image = to.image->toImage();
            plain.data = to.model.data;
            break;
        case 15:
            if (plain.data && plain.data->pixels) {
                detach(plain.data);
                writeRows(plain.image, *plain.data->pixels, plain.data->width, number);
            }
            break;
        case 16:
        case 17:
            assignPlain(to, plain.image, plain.data);
            break;
        case 18:
            to.model.profile = QByteArray::number(number);
            to.image->setIccProfile(to.model.profile);
            break;
        default:
            if (from.image)
                share(operation, to, from);
        }
    }

    static void share(int operation, Variable &to, Variable &from)
    {
        if (operation == 8 || operation == 20) {
            *to.image = *from.image;
            to.model = Model(from.model);
        } else if (operation == 9 && &to != &from) {
            to.image.emplace(*from.image);
            to.model = from.model;
        } else if (operation == 19) {
            assignPlain(to, *from.image, from.model.data);
        } else if (operation == 21) {
            std::swap(*to.image, *from.image);
            std::swap(to.model, from.model);
        }
    }

    // The store stays when others share the old data, and when there was none.
    static void assignPlain(Variable &to, const QImage &image, const std::shared_ptr<Data> &data)
    {
        *to.image = image;
        const std::shared_ptr<Data> old = std::exchange(to.model.data, std::shared_ptr<Data>(data));
        if (old && old.use_count() == 1)
            to.model.store.reset();
    }

    static void allocate(Variable &to, int stride, int height)
    {
        RC_ASSERT(to.image->alloc_buffer(stride, height));
        to.model.store = newRows(stride == 0 ? 0 : height, stride);
    }

    static void setText(Variable &to, const QString &text)
    {
        std::shared_ptr<Data> &data = to.model.data;
        if (data && to.model.store && data.use_count() > 1) {
            const std::shared_ptr<Data> owner = data->owner ? data->owner : data;
            const bool ownsPixels = owner->pixels != nullptr; // of QImage's own allocation
            data = std::make_shared<Data>(Data {data->width, data->height, data->pixels, data->text,
                                                owner, data->readOnly || ownsPixels});
        } else if (data && !to.model.store) {
            if (!data->pixels)
                return; // QImage would copy a base that may not be read
            detach(data);
        }
        to.image->setText(QStringLiteral("key"), text);
        if (data)
            data->text = text;
    }

    static void write(Variable &to, int number)
    {
        Model &model = to.model;
        if (model.store) {
            writeRows(*to.image, *model.store, to.image->storedBytesPerLine(), number);
        } else if (model.data && model.data->pixels) {
            detach(model.data);
            writeRows(*to.image, *model.data->pixels, model.data->width, number);
        }
    }

    static void check(const Vellum &image, const Model &model)
    {
        RC_ASSERT(image.isBigImage() == (model.store != nullptr));
        RC_ASSERT(image.getIccProfile() == model.profile);
        RC_ASSERT(image.isNull() == !model.data);
        RC_ASSERT(image.scanLine(-1) == nullptr);
        RC_ASSERT(image.scanLine(image.height()) == nullptr);
        if (!model.data)
            return;
        RC_ASSERT(image.isDetached() == (model.data.use_count() == 1));
        RC_ASSERT(image.size() == QSize(model.data->width, model.data->height));
        RC_ASSERT(image.text("key") == model.data->text);
        if (model.store)
            checkRows(image, *model.store, image.storedBytesPerLine());
        else if (model.data->pixels)
            checkRows(image, *model.data->pixels, model.data->width);
    }

    std::array<Variable, kVariables> m_images;
    std::array<PlainVariable, 2> m_plains;
};

TEST(Sequences, ImagesShowWhatTheModelSays)
{
    const MessageLog log; // stores that cannot be had
    const bool held = rc::check("images show what the model says", [] {
        const auto variable = rc::gen::inRange(0, Machine::kVariables);
        const auto step = rc::gen::tuple(rc::gen::inRange(0, Machine::kOperations), variable,
                                         variable, rc::gen::inRange(0, 1000));
        const auto steps = *rc::gen::scale(4.0, rc::gen::container<std::vector<Step>>(step));
        Machine machine;
        for (const Step &each : steps) {
            machine.run(each);
            machine.check();
        }
    });
    EXPECT_TRUE(held);
}

} // namespace
