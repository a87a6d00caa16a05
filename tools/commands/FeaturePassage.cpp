#include "commands/FeaturePassage.h"

#include "source/FindingReport.h"
#include "source/IndexSurvey.h"
#include "source/Log.h"
#include "source/StreamingCollection.h"
#include "terminal/Console.h"
#include "terminal/Explain.h"
#include "terminal/ProgressBar.h"

#include "Ambrel/BFileUtilities.h"
#include "Ambrel/Constants.h"

#include "ShpReader/format/Findings.h"

#include <algorithm>

namespace Ambrel::Tool {

namespace {

/// The record that a feature of a whole read comes from: those of deleted rows are not among them.
std::uint64_t RecordOf(BFeature const& feature, std::uint64_t otherwise) {
    BVariant const* const record = feature.GetMetadata().Find(CMN_RECORD_NUMBER);
    return record ? record->GetValueAsUnsignedInteger64(otherwise) : otherwise;
}

class Passage {
public:
    Passage(Console& console, BString const& file, Source& theSource,
            FeatureConsumer const& consumer)
        : report(*console.report), source(theSource), survey(file), consume(consumer),
          progress(console, std::string(BFileUtilities::GetBasename(file).Utf8())) {
        if (report.CountOf(static_cast<std::uint32_t>(FindingCode::IndexSalvaged)) > 0) {
            survey = IndexSurvey(); // what is read is not what the index names
        }
    }

    PassageCounts Run() {
        if (survey.NeedsFetches() && source.Mode() != HoldMode::Direct) {
            source.ReopenDirectly();
        }
        bool const isDirect = source.Mode() == HoldMode::Direct;
        if (isDirect || !ReadWhole()) {
            FetchTheRest();
        }
        report.SetRecord(std::nullopt);
        return counts;
    }

private:
    bool ReadWhole() {
        report.SetRecord(0);
        bool const isComplete = source.Mode() == HoldMode::Stream ? Stream() : ReadAndTake();
        counts.records = std::max(next, isComplete ? survey.RecordCount() : 0);
        counts.deleted = counts.records - passed;
        if (!isComplete) {
            source.ReopenDirectly();
        }
        return isComplete;
    }

    bool Stream() {
        source.Layer().SetFeaturesPtr(
            new StreamingCollection([&](std::uint64_t index, BFeature& feature) {
                Take(RecordOf(feature, index), feature);
            }));
        return Read();
    }

    bool ReadAndTake() {
        bool const isComplete = Read();
        BFeatureCollection& features = source.Layer().GetFeatures();
        std::uint64_t const count = features.GetCount();
        for (std::uint64_t i = 0; i < count; ++i) {
            progress.Step(i, count);
            BSharedPtr<BFeature> const feature = features.GetAt(i, true);
            Take(RecordOf(*feature, i), *feature);
        }
        return isComplete;
    }

    void Take(std::uint64_t record, BFeature& feature) {
        consume(record, feature);
        ++passed;
        next = record + 1;
        report.SetRecord(next); // what is found from now on is about that one
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

    void FetchTheRest() {
        counts.records = source.Layer().GetFeatures().GetCount();
        for (std::uint64_t record = next; record < counts.records; ++record) {
            progress.Step(record, counts.records);
            report.SetRecord(record);
            if (!survey.Admits(record)) {
                report.Add(static_cast<std::uint32_t>(FindingCode::ClaimedTooOften), record);
                continue;
            }
            BSharedPtr<BFeature> feature;
            if (!Fetch(record, feature)) {
                continue;
            }
            if (feature) {
                consume(record, *feature);
            } else {
                ++counts.deleted;
            }
        }
    }

    /// False where nothing of the record can be had. An empty holder stands for a deleted row.
    bool Fetch(std::uint64_t record, BSharedPtr<BFeature>& feature) {
        std::string problem;
        if (Get(record, true, feature, problem)) {
            return true;
        }
        std::string sameProblem;
        Silence const silence; // the record has been fetched before
        bool const hasGeometry = Get(record, false, feature, sameProblem);
        report.Add(hasGeometry ? ATTRIBUTES_UNREADABLE : RECORD_UNREADABLE, record, {problem});
        return hasGeometry;
    }

    bool Get(std::uint64_t record, bool complete, BSharedPtr<BFeature>& feature,
             std::string& problem) {
        try {
            feature = source.Layer().GetFeatures().GetAt(record, complete);
            return true;
        } catch (BException const& error) {
            problem = Explain(error, {});
            return false;
        }
    }

    FindingReport& report;
    Source& source;
    IndexSurvey survey;
    FeatureConsumer const& consume;
    ProgressBar progress;
    PassageCounts counts;
    std::uint64_t passed = 0;
    std::uint64_t next = 0; ///< the record behind the last one that has passed
};

} // namespace

PassageCounts PassFeatures(Console& console, BString const& file, Source& source,
                           FeatureConsumer const& consume) {
    return Passage(console, file, source, consume).Run();
}

} // namespace Ambrel::Tool
