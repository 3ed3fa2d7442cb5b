// Files of several pictures.
#pragma once

#include <vellum/export.h>
#include <vellum/image/vellum.h>
#include <vellum/io/openimage.h>
#include <vellum/io/saveimage.h>

#include <memory>
#include <vector>

namespace vellum {

/// Pictures that follow each other, linked by Vellum::setNextImage(), and their owner.
///
/// A page stays at its address as long as the chain has it; moving the chain moves no page.
class VELLUM_EXPORT PageChain
{
public:
    PageChain();
    ~PageChain();
    PageChain(PageChain &&other) noexcept;
    PageChain &operator=(PageChain &&other) noexcept;

    int count() const { return int(m_pages.size()); }
    bool isEmpty() const { return m_pages.empty(); }

    /// \param index  0 to count() - 1
    Vellum &page(int index) { return *m_pages[size_t(index)]; }
    const Vellum &page(int index) const { return *m_pages[size_t(index)]; } ///< \overload

    /// The first page, as functions take that know chains; null when there is none.
    Vellum *head() { return isEmpty() ? nullptr : m_pages.front().get(); }

    /// Adds a page at the end that shares the pixels of \a image, and returns it.
    Vellum &append(const Vellum &image);

private:
    std::vector<std::unique_ptr<Vellum>> m_pages;
};

/// Reads all pages of \a file into \a pages, each as openImage() does.
///
/// OpenOptions::page is the first that is read. Limits are for all pages together, progress is
/// over all of them, and OpenResult::colors is FileOwn when it is of any page. When anything goes
/// wrong \a pages is as it was before; with keepDamaged, it has the pages up to the damaged one.
///
/// \param pages  its read options, those of its first page, are handed to the plugin
VELLUM_EXPORT OpenResult openPages(PageChain &pages, const QString &file,
                                   const OpenOptions &options = {});

/// Saves \a pages as one file, as saveImage() does with one picture.
///
/// The plugin is handed the first page and follows Vellum::getNextImage() to the others. That it
/// does it declares by "VellumPages": true in its metadata; other kinds of file take one page.
VELLUM_EXPORT SaveResult savePages(const PageChain &pages, const QString &file,
                                   const SaveOptions &options = {});

/// Writes \a pages to \a device, open for writing, which is the caller's to complete or throw away.
/// \a options must name the format.
VELLUM_EXPORT SaveResult savePages(const PageChain &pages, QIODevice &device,
                                   const SaveOptions &options);

} // namespace vellum
