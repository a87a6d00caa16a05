#pragma once

#include "cache/FeatureBlock.h"

#include <array>
#include <memory>

namespace Ambrel {

class BlockFile;

/// A growing list of features of which a few pages are in memory and the rest in a file.
///
/// The features that were added last stand in a page of their own, which goes to the file when it
/// is full. Of the others, the pages that were used last are kept as bytes, and features are made
/// from them when they are asked for: walking through them makes each once, and a feature at random
/// costs at most the reading of one page. A page is a number of features, fewer where they are
/// large, so that memory is bounded whatever they are.
class FeatureStore final {
public:
    /// See BDiskCacheFeatureCollection.
    FeatureStore(BString const& baseName, int featuresPerPage);
    FeatureStore(FeatureStore const&) = delete;
    FeatureStore& operator=(FeatureStore const&) = delete;
    ~FeatureStore();

    std::uint64_t Count() const noexcept { return FiledCount() + filling.Count(); }
    void Add(BFeature const& feature);
    /// A new object at every call. REQUIRES, also below: index < Count().
    BSharedPtr<BFeature> Read(std::uint64_t index);
    BSharedPtr<BGeometry> ReadGeometry(std::uint64_t index);
    /// The bytes that the feature takes in its page.
    std::size_t FeatureSize(std::uint64_t index);
    void Replace(std::uint64_t index, BFeature const& feature);
    void Remove(std::uint64_t index);
    /// Removes all features and the file.
    void Clear() noexcept;
    /// An empty store with the same base name and page size.
    std::unique_ptr<FeatureStore> MakeSibling() const;

private:
    /// A page in the file: its number there and the index of the first feature behind it.
    struct Page {
        std::int64_t id;
        std::uint64_t end;
    };
    /// A page of the file that is in memory.
    struct LoadedPage {
        std::int64_t id = 0; ///< 0 when there is none
        bool changed = false;
        std::uint64_t lastUse = 0;
        FeatureBlock block;
    };
    /// A feature's place: its page, which is `pages.size()` for the one being filled.
    struct Place {
        std::size_t page;
        std::uint64_t index;
    };

    std::uint64_t FiledCount() const noexcept { return pages.empty() ? 0 : pages.back().end; }
    std::uint64_t FirstOf(std::size_t page) const noexcept {
        return page == 0 ? 0 : pages[page - 1].end;
    }
    bool IsFull(FeatureBlock const& block) const noexcept;
    Place Locate(std::uint64_t index) noexcept;
    FeatureBlock& BlockOf(Place const& place);
    LoadedPage& Load(std::int64_t id);
    LoadedPage& LeastRecentlyUsed() noexcept;
    void WriteBack(LoadedPage& loaded);
    void MarkChanged(Place const& place);
    void Drop(std::size_t page);
    void FilePage();
    void SplitIfTooLarge(Place const& place);
    std::int64_t WriteNew(FeatureBlock& block);

    BString baseName;
    std::uint64_t pageSize;
    std::unique_ptr<BlockFile> file; ///< made by the first feature
    std::vector<Page> pages;
    std::size_t lastPage = 0; ///< where the last feature was found
    std::int64_t lastId = 0;
    std::array<LoadedPage, 4> loadedPages;
    std::uint64_t uses = 0;
    FeatureBlock filling;
};

} // namespace Ambrel
