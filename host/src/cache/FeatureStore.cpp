#include "cache/FeatureStore.h"

#include "Ambrel/BFileUtilities.h"
#include "cache/BlockFile.h"

#include <algorithm>

namespace Ambrel {

namespace {

constexpr char const* readOperation = "FeatureStore::Read";

constexpr int defaultPageSize = 1024;

/// A page that grew beyond this by changes of its features is split.
constexpr std::size_t splitSize = 4 * FeatureBlock::fullSize;

/// Features that were written by this process are read back; if they are not what they were, the
/// file was changed from outside.
template <class Action>
auto ReadFrom(BlockFile const& file, Action const& action) {
    try {
        return action();
    } catch (BFileContentNotValidException const& failure) {
        throw BResourceException(readOperation,
                                 BString::Format("%s: %s", file.Name().Ascii(), failure.what()));
    }
}

} // namespace

// The name is completed, so that the store stays where it is when the process changes its folder.
FeatureStore::FeatureStore(BString const& cacheBaseName, int featuresPerPage)
    : baseName(BFileUtilities::CompletePath(cacheBaseName)),
      pageSize(
          static_cast<std::uint64_t>(featuresPerPage < 1 ? defaultPageSize : featuresPerPage)) {}

FeatureStore::~FeatureStore() = default;

std::unique_ptr<FeatureStore> FeatureStore::MakeSibling() const {
    return std::make_unique<FeatureStore>(baseName, static_cast<int>(pageSize));
}

bool FeatureStore::IsFull(FeatureBlock const& block) const noexcept {
    return block.Count() >= pageSize || block.FeaturesSize() >= FeatureBlock::fullSize;
}

void FeatureStore::Add(BFeature const& feature) {
    if (!file) {
        file = std::make_unique<BlockFile>(baseName);
    }
    if (IsFull(filling)) {
        FilePage();
    }
    filling.Add(feature);
}

void FeatureStore::FilePage() {
    std::int64_t const id = WriteNew(filling);
    pages.push_back({id, Count()});
    filling.Clear();
}

std::int64_t FeatureStore::WriteNew(FeatureBlock& block) {
    std::int64_t const id = ++lastId;
    block.Encode([&](BByteArray const& bytes) { file->Write(id, bytes); });
    return id;
}

FeatureStore::Place FeatureStore::Locate(std::uint64_t index) noexcept {
    bool const isInLast =
        lastPage < pages.size() && index < pages[lastPage].end && index >= FirstOf(lastPage);
    if (!isInLast) {
        auto const found =
            std::upper_bound(pages.begin(), pages.end(), index,
                             [](std::uint64_t i, Page const& page) { return i < page.end; });
        lastPage = static_cast<std::size_t>(found - pages.begin());
    }
    return {lastPage, index - FirstOf(lastPage)};
}

FeatureBlock& FeatureStore::BlockOf(Place const& place) {
    return place.page == pages.size() ? filling : Load(pages[place.page].id).block;
}

FeatureStore::LoadedPage& FeatureStore::Load(std::int64_t id) {
    auto found = std::find_if(loadedPages.begin(), loadedPages.end(),
                              [&](LoadedPage const& loaded) { return loaded.id == id; });
    if (found == loadedPages.end()) {
        LoadedPage& room = LeastRecentlyUsed();
        WriteBack(room);
        room.id = 0;
        room.block =
            ReadFrom(*file, [&] { return FeatureBlock::Decode(file->Read(id), readOperation); });
        room.id = id;
        found = loadedPages.begin() + (&room - loadedPages.data());
    }
    found->lastUse = ++uses;
    return *found;
}

FeatureStore::LoadedPage& FeatureStore::LeastRecentlyUsed() noexcept {
    return *std::min_element(
        loadedPages.begin(), loadedPages.end(),
        [](LoadedPage const& a, LoadedPage const& b) { return a.lastUse < b.lastUse; });
}

void FeatureStore::WriteBack(LoadedPage& loaded) {
    if (loaded.changed) {
        loaded.block.Encode([&](BByteArray const& bytes) { file->Write(loaded.id, bytes); });
        loaded.changed = false;
    }
}

void FeatureStore::MarkChanged(Place const& place) {
    if (place.page < pages.size()) {
        Load(pages[place.page].id).changed = true;
    }
}

BSharedPtr<BFeature> FeatureStore::Read(std::uint64_t index) {
    Place const place = Locate(index);
    FeatureBlock const& block = BlockOf(place);
    return ReadFrom(*file, [&] { return block.Read(place.index, readOperation); });
}

BSharedPtr<BGeometry> FeatureStore::ReadGeometry(std::uint64_t index) {
    Place const place = Locate(index);
    FeatureBlock const& block = BlockOf(place);
    return ReadFrom(*file, [&] { return block.ReadGeometry(place.index, readOperation); });
}

std::size_t FeatureStore::FeatureSize(std::uint64_t index) {
    Place const place = Locate(index);
    return BlockOf(place).FeatureSize(place.index);
}

void FeatureStore::Replace(std::uint64_t index, BFeature const& feature) {
    Place const place = Locate(index);
    BlockOf(place).Replace(place.index, feature);
    MarkChanged(place);
    SplitIfTooLarge(place);
}

void FeatureStore::SplitIfTooLarge(Place const& place) {
    if (BlockOf(place).FeaturesSize() < splitSize) {
        return;
    }
    if (place.page == pages.size()) {
        FilePage();
    }
    FeatureBlock& block = Load(pages[place.page].id).block;
    FeatureBlock first;
    FeatureBlock second;
    for (std::uint64_t i = 0; i < block.Count(); ++i) {
        FeatureBlock& half = first.FeaturesSize() < block.FeaturesSize() / 2 ? first : second;
        half.Add(*ReadFrom(*file, [&] { return block.Read(i, readOperation); }));
    }
    if (second.Count() == 0) {
        return; // the last feature alone is most of the page
    }
    Page const behind = {WriteNew(second), pages[place.page].end};
    pages.insert(pages.begin() + static_cast<std::ptrdiff_t>(place.page) + 1, behind);
    pages[place.page].end -= second.Count();
    block = std::move(first);
    MarkChanged(place);
}

void FeatureStore::Remove(std::uint64_t index) {
    Place const place = Locate(index);
    FeatureBlock& block = BlockOf(place);
    if (place.page == pages.size()) {
        block.Remove(place.index);
        return;
    }
    if (block.Count() == 1) {
        Drop(place.page);
    } else {
        block.Remove(place.index);
        MarkChanged(place);
    }
    for (std::size_t page = place.page; page < pages.size(); ++page) {
        --pages[page].end;
    }
}

void FeatureStore::Drop(std::size_t page) {
    LoadedPage& loaded = Load(pages[page].id);
    file->Remove(loaded.id);
    loaded.id = 0;
    loaded.changed = false;
    loaded.lastUse = 0;
    loaded.block.Clear();
    pages.erase(pages.begin() + static_cast<std::ptrdiff_t>(page));
}

void FeatureStore::Clear() noexcept {
    for (LoadedPage& loaded : loadedPages) {
        loaded.id = 0;
        loaded.changed = false;
        loaded.block.Clear();
    }
    filling.Clear();
    pages.clear();
    file.reset();
}

} // namespace Ambrel
