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

/// Allocates the blocks of \a store, which are null, and leaves none behind when one fails.
/// \return how many could be had
int allocateBlocks(const RowBlockBuffer &store, size_t bytes, void *(*allocate)(size_t))
{
    for (int count = 0; count < store.blockCount; ++count) {
        store.blocks[count] = static_cast<uchar *>(allocate(bytes));
        if (store.blocks[count])
            continue;
        for (int i = 0; i < count; ++i)
            std::free(std::exchange(store.blocks[i], nullptr));
        return count;
    }
    return store.blockCount;
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
    if (store->blockBytes() == 0)
        return store.release();

    failedBlock = allocateBlocks(*store, store->blockBytes(), allocateInHugePages);
    if (failedBlock < store->blockCount) // address space may be short, and these need less of it
        failedBlock = allocateBlocks(*store, store->blockBytes(), std::malloc);
    if (failedBlock < store->blockCount)
        return nullptr;
    store->m_rows = height;
    return store.release();
}

RowStore::~RowStore()
{
    for (int i = 0; blocks && i < blockCount; ++i)
        std::free(blocks[i]);
    std::free(blocks);
}

} // namespace vellum::image
