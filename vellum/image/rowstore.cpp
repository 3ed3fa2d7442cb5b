#include <vellum/image/hugepages_p.h>
#include <vellum/image/rowstore_p.h>

#include <cstdlib>
#include <limits>
#include <memory>

namespace vellum::image {

namespace {

constexpr qint64 kBytesPerBlock = 4 << 20;
constexpr qint64 kLeastBlocks = 8;

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

    for (; failedBlock < store->blockCount; ++failedBlock) {
        store->blocks[failedBlock] = static_cast<uchar *>(std::malloc(store->blockBytes()));
        if (!store->blocks[failedBlock])
            return nullptr;
        preferHugePages(store->blocks[failedBlock], store->blockBytes());
    }
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
