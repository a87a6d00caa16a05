#include "Comparison.h"

#include "Checks.h"
#include "GeometryText.h"

#include "Ambrel/Ambrel.h"
#include "ShpReader/BShpReader.h"
#include "ShpReader/format/Findings.h"
#include "ShpReader/format/ShpFormat.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace Ambrel::Fuzz {

namespace {

constexpr std::size_t mostRecords = 64;

/// What was delivered: a text for each feature, and what ended it.
struct Delivery {
    std::vector<std::string> features;
    std::string failure;
    bool isBudgetSpent = false;
};

BParamList OpenOptions(SourceInput const& input) {
    BParamList options;
    options.Add("USE_ATTRIBUTES", !input.Has(SourceInput::withoutAttributes));
    options.Add("MISSING_AS_NULL", input.Has(SourceInput::missingAsNull));
    options.Add("SKIP_DELETED", input.Has(SourceInput::skipDeleted));
    options.Add("MEASURES_ALWAYS", input.Has(SourceInput::measuresAlways));
    options.Add("SALVAGE", input.Has(SourceInput::salvage));
    if (input.Has(SourceInput::withAttributeZ)) {
        options.SetValue("USE_ATTRIBUTE_Z", BString("id"));
    }
    if (input.Has(SourceInput::withEncoding)) {
        options.SetValue("ENCODING", BString("windows-1251"));
    }
    return options;
}

std::string Describe(BException const& failure) {
    return std::string(failure.GetClassName()) + " " + failure.GetOperation().Ascii() + " " +
           failure.GetMessage().Ascii();
}

std::string Describe(BFeature const& feature) {
    return Test::TextOf(feature) + " |" + TextOf(feature.attributes) + " | " +
           Test::TextOf(feature.GetMetadata());
}

/// Notes whether the index claimed too much while it lives.
class BudgetWatch {
public:
    explicit BudgetWatch(bool& spent) {
        BLogger::Instance()->SetEntrySink([&spent](BLogEntry const& entry) {
            spent |= entry.code == static_cast<std::uint32_t>(FindingCode::ClaimedTooOften);
        });
    }
    ~BudgetWatch() { BLogger::Instance()->SetEntrySink({}); }
    BudgetWatch(BudgetWatch const&) = delete;
    BudgetWatch& operator=(BudgetWatch const&) = delete;
};

/// The features of the source's one layer, up to the first that cannot be had.
Delivery Deliver(BString const& path, BParamList const& options, BParamList const& mode) {
    Delivery delivery;
    BudgetWatch const watch(delivery.isBudgetSpent);
    BShpReader reader(mode);
    BFeatureCollection* features = nullptr;
    std::uint64_t next = 0;
    try {
        reader.Open(path, options);
        features = &static_cast<BVectorLayer&>(*reader.GetLayers().GetAt(0)).GetFeatures();
        reader.Read();
    } catch (BException const& failure) {
        delivery.failure = Describe(failure);
    }
    try {
        for (; features && next < features->GetCount(); ++next) {
            BSharedPtr<BFeature> const feature = features->GetAt(next, true);
            if (feature) {
                delivery.features.push_back(Describe(*feature));
            }
        }
    } catch (BException const& failure) {
        delivery.failure = Describe(failure);
    }
    return delivery;
}

BParamList Mode(BString const* option) {
    BParamList mode;
    if (option) {
        mode.Add(*option, true);
    }
    return mode;
}

/// A whole read may end early or lack geometries for reasons of its own: the index claimed too
/// much, or a first record of no bytes, for which the shared buffer does not come into being.
bool EndsForItsOwnReasons(Delivery const& whole) {
    return whole.isBudgetSpent || whole.failure.starts_with("BResourceException");
}

void CompareDeliveries(Delivery const& whole, Delivery const& direct) {
    if (EndsForItsOwnReasons(whole)) {
        Require(whole.features.size() <= direct.features.size(), "a whole read invents nothing");
        return;
    }
    auto const [one, other] = std::mismatch(whole.features.begin(), whole.features.end(),
                                            direct.features.begin(), direct.features.end());
    if (one != whole.features.end() || other != direct.features.end()) {
        std::fprintf(stderr, "%s\n%s\n", one == whole.features.end() ? "none" : one->c_str(),
                     other == direct.features.end() ? "none" : other->c_str());
        Require(false, "the way to the features does not change them");
    }
    if (whole.failure != direct.failure) {
        std::fprintf(stderr, "%s\n%s\n", whole.failure.c_str(), direct.failure.c_str());
        Require(false, "the way to the features does not change what fails");
    }
}

struct Range {
    std::int64_t first;
    std::int64_t end;
};

std::vector<Range> RangesOf(SourceInput const& input) {
    std::vector<Range> ranges;
    for (std::size_t at = ShpFileHeader::size; at + ShpIndexEntry::size <= input.index.size();
         at += ShpIndexEntry::size) {
        auto const entry = ShpIndexEntry::Decode(input.index.data() + at);
        std::int64_t const first = entry.RecordPosition();
        ranges.push_back(
            {first, first + std::int64_t{ShpRecordHeader::size} + entry.ContentSize()});
    }
    return ranges;
}

/// A record whose bytes are its own, behind the file's header.
std::optional<std::size_t> FindLoneRecord(std::vector<Range> const& ranges, std::size_t start) {
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        std::size_t const candidate = (start + i) % ranges.size();
        Range const& own = ranges[candidate];
        auto const meets = std::count_if(ranges.begin(), ranges.end(), [&](Range const& other) {
            return other.first < own.end && own.first < other.end;
        });
        if (own.first >= static_cast<std::int64_t>(ShpFileHeader::size) && meets == 1) {
            return candidate;
        }
    }
    return std::nullopt;
}

/// Each record as direct access gives it, or what it throws.
std::vector<std::string> FetchEach(BString const& path, BParamList const& options) {
    std::vector<std::string> texts;
    BShpReader reader(Mode(&OPTION_DIRECT_ACCESS));
    if (!Try([&] { reader.Open(path, options); })) {
        return texts;
    }
    BFeatureCollection& features =
        static_cast<BVectorLayer&>(*reader.GetLayers().GetAt(0)).GetFeatures();
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(features.GetCount(), mostRecords); ++i) {
        try {
            BSharedPtr<BFeature> const feature = features.GetAt(i, true);
            texts.push_back(feature ? Describe(*feature) : "left out");
        } catch (BException const& failure) {
            texts.push_back(Describe(failure));
        }
    }
    return texts;
}

} // namespace

void CompareModes(BString const& path, SourceInput const& input) {
    BParamList const options = OpenOptions(input);
    Delivery const direct = Deliver(path, options, Mode(&OPTION_DIRECT_ACCESS));
    CompareDeliveries(Deliver(path, options, Mode(nullptr)), direct);
    CompareDeliveries(Deliver(path, options, Mode(&OPTION_DISK_CACHE)), direct);
}

void CompareNeighbours(std::filesystem::path const& folder, SourceInput const& input) {
    // Salvage looks at all records to find out what the index is worth.
    std::vector<Range> const ranges = RangesOf(input);
    if (input.Has(SourceInput::salvage) || ranges.size() < 2 || ranges.size() > mostRecords) {
        return;
    }
    std::size_t const start = input.main.size() % ranges.size();
    std::optional<std::size_t> const damaged = FindLoneRecord(ranges, start);
    if (!damaged) {
        return;
    }
    BString const path = BString::FromUtf8((folder / "f.shp").string());
    BParamList const options = OpenOptions(input);
    std::vector<std::string> const before = FetchEach(path, options);
    Test::Bytes main = input.main;
    auto const end =
        std::min<std::int64_t>(ranges[*damaged].end, static_cast<std::int64_t>(main.size()));
    for (std::int64_t at = ranges[*damaged].first; at < end; ++at) {
        main[static_cast<std::size_t>(at)] ^= static_cast<std::uint8_t>(at * 37 + 11);
    }
    Test::WriteFile(folder / "f.shp", main);
    std::vector<std::string> const after = FetchEach(path, options);
    Require(before.size() == after.size(), "damage to one record does not change their number");
    for (std::size_t i = 0; i < before.size(); ++i) {
        Require(i == *damaged || before[i] == after[i], "damage to one record changes no other");
    }
}

} // namespace Ambrel::Fuzz
