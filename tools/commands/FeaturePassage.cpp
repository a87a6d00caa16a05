#include "commands/FeaturePassage.h"

#include "source/Log.h"
#include "source/StreamingCollection.h"
#include "terminal/Console.h"
#include "terminal/ProgressBar.h"

#include "Ambrel/BFileUtilities.h"

namespace Ambrel::Tool {

namespace {

class Passage {
public:
    Passage(Console& newConsole, BString const& newFile, Source& newSource,
            FeatureConsumer const& newConsume)
        : console(newConsole), file(newFile), source(newSource), consume(newConsume),
          progress(console, std::string(BFileUtilities::GetBasename(file).Utf8())) {}

    std::uint64_t Run() {
        std::uint64_t first = 0;
        if (source.Mode() != HoldMode::Direct) {
            bool const isComplete = source.Mode() == HoldMode::Stream ? Stream() : ReadAndTake();
            if (isComplete) {
                return 0;
            }
            first = source.Layer().GetFeatures().GetCount();
            source.ReopenDirectly();
        }
        return FetchOneByOne(first);
    }

private:
    bool Stream() {
        source.Layer().SetFeaturesPtr(new StreamingCollection(consume));
        return Read();
    }

    bool ReadAndTake() {
        bool const isComplete = Read();
        BFeatureCollection& features = source.Layer().GetFeatures();
        std::uint64_t const count = features.GetCount();
        for (std::uint64_t i = 0; i < count; ++i) {
            progress.Step(i, count);
            BSharedPtr<BFeature> const feature = features.GetAt(i, true);
            consume(i, *feature);
        }
        return isComplete;
    }

    /// False when a record throws. The layer has those before it; what is wrong will be told when
    /// the record is fetched on its own.
    bool Read() {
        source.Reader().SetProgress(&progress);
        try {
            source.Reader().Read();
        } catch (StopException const&) {
            throw;
        } catch (BResourceException const&) {
            throw;
        } catch (BException const&) {
            return false;
        }
        if (source.Reader().GetReadResult() == READ_CANCELLED) {
            throw InterruptedException();
        }
        return true;
    }

    std::uint64_t FetchOneByOne(std::uint64_t first) {
        std::uint64_t const count = source.Layer().GetFeatures().GetCount();
        std::uint64_t problems = 0;
        for (std::uint64_t record = first; record < count; ++record) {
            progress.Step(record, count);
            std::string problem;
            BSharedPtr<BFeature> feature = Fetch(record, true, problem);
            if (!feature) {
                ++problems;
                feature = FetchGeometry(record);
                char const* const loss = feature ? " has no attributes: " : " is left out: ";
                PrintError(console, "record " + std::to_string(record) + loss + problem,
                           file.Utf8());
            }
            if (feature) {
                consume(record, *feature);
            }
        }
        return problems;
    }

    /// Empty where the record can not be read, and then says why.
    BSharedPtr<BFeature> Fetch(std::uint64_t record, bool complete, std::string& problem) {
        try {
            return source.Layer().GetFeatures().GetAt(record, complete);
        } catch (BException const& error) {
            problem = Describe(error);
            return {};
        }
    }

    /// Of a record that has been fetched in vain.
    BSharedPtr<BFeature> FetchGeometry(std::uint64_t record) {
        Silence const silence;
        std::string sameProblem;
        return Fetch(record, false, sameProblem);
    }

    Console& console;
    BString file;
    Source& source;
    FeatureConsumer const& consume;
    ProgressBar progress;
};

} // namespace

std::uint64_t PassFeatures(Console& console, BString const& file, Source& source,
                           FeatureConsumer const& consume) {
    return Passage(console, file, source, consume).Run();
}

} // namespace Ambrel::Tool
