#include <vellum/image/hugepages_p.h>
#include <vellum/image/rowstore_p.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

namespace vellum::image {

namespace {

constexpr qint64 kBytesPerBlock = 4 << 20;
constexpr qint64 kLeastBlocks = 8;

/// Allocates the first \a blocks blocks of \a store, which are null, and leaves none behind when
/// one fails.
/// \return how many could be had
int allocateBlocks(const RowBlockBuffer &store, int blocks, size_t bytes, void *(*allocate)(size_t))
{
    for (int count = 0; count < blocks; ++count) {
        store.blocks[count] = static_cast<uchar *>(allocate(bytes));
        if (store.blocks[count])
            continue;
        for (int i = 0; i < count; ++i)
            std::free(std::exchange(store.blocks[i], nullptr));
        return count;
    }
    return blocks;
}

} // namespace

RowStore *RowStore::allocate(qint64 bytesPerLine, int height, int &failedBlock)
{
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    failedBlock = 0;
    // A longer row could not be addressed: the store's stride has 32 bits.
    if (bytesPerLine < 0 || bytesPerLine > kMost || height < 0)
        return nullptr;
    const qint64 blockCount = qMax(kLeastBlocks, bytesPerLine * height / kBytesPerBlock);
    if (blockCount > kMost)
        return nullptr;

    std::unique_ptr<RowStore> store(new RowStore);
    store->blocks = static_cast<uchar **>(std::calloc(size_t(blockCount), sizeof(uchar *)));
    if (!store->blocks)
        return nullptr;
    store->blockCount = int(blockCount);
    store->rowsPerBlock = int((height + blockCount - 1) / blockCount);
    store->bytesPerLine = int(bytesPerLine);
    store->m_owned = store->blockCount;
    if (store->blockBytes() == 0)
        return store.release();

    const auto allocateAll = [&store](void *(*allocate)(size_t)) {
        return allocateBlocks(*store, store->blockCount, store->blockBytes(), allocate);
    };
    failedBlock = allocateAll(allocateInHugePages);
    if (failedBlock < store->blockCount) // address space may be short, and these need less of it
        failedBlock = allocateAll(std::malloc);
    if (failedBlock < store->blockCount)
        return nullptr;
    store->m_rows = height;
    return store.release();
}

RowStore *RowStore::allocateWindow(qint64 bytesPerLine, int height, int window)
{
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    if (bytesPerLine < 1 || bytesPerLine > kMost || height < 1 || window < 1)
        return nullptr;
    const qint64 rowsPerBlock = (qMin(window, height) + kLeastBlocks - 1) / kLeastBlocks;
    const qint64 blockCount = qMax(kLeastBlocks, (height + rowsPerBlock - 1) / rowsPerBlock);

    std::unique_ptr<RowStore> store(new RowStore);
    store->blocks = static_cast<uchar **>(std::calloc(size_t(blockCount), sizeof(uchar *)));
    if (!store->blocks)
        return nullptr;
    store->blockCount = int(blockCount);
    store->rowsPerBlock = int(rowsPerBlock);
    store->bytesPerLine = int(bytesPerLine);
    store->m_owned = int(kLeastBlocks);
    if (allocateBlocks(*store, store->m_owned, store->blockBytes(), std::malloc) < store->m_owned)
        return nullptr;
    for (int i = store->m_owned; i < store->blockCount; ++i)
        store->blocks[i] = store->blocks[i - store->m_owned];
    store->m_rows = height;
    return store.release();
}

RowStore::~RowStore()
{
    for (int i = 0; blocks && i < m_owned; ++i)
        std::free(blocks[i]);
    std::free(blocks);
}

} // namespace vellum::image
