// The write side: a schema and values made of the input are written and read back.

#include "Checks.h"

#include "Ambrel/Ambrel.h"
#include "ShpReader/shp/BShpFile.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace {

using namespace Ambrel;
using Fuzz::Require;
using Input = FuzzedDataProvider;

BString TakeText(Input& input, std::size_t most) {
    std::string const text = input.ConsumeRandomLengthString(most);
    return BString(text.data(), text.size());
}

BAttributeDef TakeField(Input& input) {
    BAttributeDef field;
    field.name = TakeText(input, 14);
    field.SetType(static_cast<EVariantType>(input.ConsumeIntegralInRange(0, 20)));
    field.width = input.ConsumeIntegralInRange(-1, 270);
    field.decimals = input.ConsumeIntegralInRange(-1, 260);
    return field;
}

BVariant TakeValue(Input& input) {
    switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0: return {};
    case 1: return {input.ConsumeIntegral<int>()};
    case 2: return {input.ConsumeIntegral<std::int64_t>()};
    case 3: return {input.ConsumeFloatingPoint<double>()};
    case 4: return {input.ConsumeBool()};
    case 5: {
        double const value = input.ConsumeFloatingPoint<double>();
        return {&value, input.ConsumeIntegralInRange(0, 1)};
    }
    default: return {TakeText(input, 40)};
    }
}

struct Written {
    bool isPrepared = false;
    std::uint32_t records = 0;
    std::uint32_t rows = 0;
    std::uint64_t fields = 0;
};

BAttributeDefs TakeSchema(Input& input) {
    BAttributeDefs schema;
    for (int count = input.ConsumeIntegralInRange(0, 6); count > 0; --count) {
        schema.Add(TakeField(input));
    }
    return schema;
}

BSharedPtr<BFeature> TakeFeature(Input& input) {
    BSharedPtr<BFeature> const feature(new BFeature);
    for (int count = input.ConsumeIntegralInRange(0, 7); count > 0; --count) {
        feature->attributes.Add("", TakeValue(input));
    }
    return feature;
}

/// Where attributes are refused, their null shape stands alone.
Written WriteAll(BString const& path, Input& input) {
    using Refusal = BAttributeDataException;
    Written written;
    BShpFile file;
    file.Open(path, BShpFile::writeMode, true, BString());
    BAttributeDefs const schema = TakeSchema(input);
    written.fields = schema.GetCount();
    written.isPrepared = Fuzz::Try<Refusal>([&] { file.PrepareTable(schema); });
    written.records = input.ConsumeIntegralInRange(0U, 5U);
    for (std::uint32_t i = 0; i < written.records; ++i) {
        written.rows += Fuzz::Try<Refusal>([&] { file.WriteFeature(TakeFeature(input)); });
    }
    return written;
}

void ReadBack(BString const& path, Written const& written) {
    int problems = 0;
    BLogger::Instance()->SetSink(
        [&](ELogSeverity severity, std::string_view) { problems += severity <= LOG_WARNING; });
    BShpFile file;
    file.Open(path, BShpFile::readMode, true, BString());
    Require(file.GetRecordCount() == written.records, "every record is there");
    Require(file.GetDbfFile()->GetAttributeRecordCount() == written.rows, "every row is there");
    for (std::uint32_t i = 0; i < written.records; ++i) {
        BSharedPtr<BFeature> const feature = file.ReadFeature(i, i < written.rows);
        Require(i >= written.rows || feature->attributes.GetCount() == written.fields,
                "every field is there");
    }
    Require(problems == 0, "what was written has no problems");
    BLogger::Instance()->SetSink([](ELogSeverity, std::string_view) {});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    BString const path = Fuzz::Scratch().File("w.shp");
    Written const written = WriteAll(path, input);
    if (written.isPrepared && written.records > 0) {
        ReadBack(path, written);
    } else if (written.records == 0) {
        Require(!BFileUtilities::Exists(path), "nothing written leaves no file");
    }
    return 0;
}
