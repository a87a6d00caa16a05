// Times what the reader does with large files:
//
//   operation-bench [--rounds N] [--only OPERATION]… FILE.shp…
//
// Prints one line for each file and operation: FILE OPERATION SECONDS RATIO. The ratio is that to
// reading the same bytes, of the files that the operation reads, in pieces of 1 MiB. Both are the
// best of all rounds (five), and each round has its turn at everything, so that a slow moment of
// the machine does not fall on one operation alone. Times of reads, selections and drawings include
// opening; all leave out freeing what was read. "rss" is the peak memory of a process of its own
// that reads the file, in MiB.
// "copy" and "copy-geometry" make a copy, in memory, of what "read" and "read-geometry" made: the
// part of these that no file is needed for. "draw-nothing" is the plug-in's share of "draw":
// everything but the painting.

#include "BenchHost.h"
#include "BenchRenderer.h"
#include "Random.h"

#include <Ambrel/Ambrel.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace Ambrel::Bench {

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Stops the compiler from leaving out what is measured.
volatile std::uint64_t sink = 0;

BRect const window(0, 40, 20, 50);
constexpr int imageWidth = 1600;
constexpr int imageHeight = 1200;

// ---------------------------------------------------------------- operations, each in seconds

double ReadInPieces(std::vector<std::string> const& paths) {
    static std::vector<char> piece(1 << 20);
    auto const start = Clock::now();
    for (std::string const& path : paths) {
        int const file = open(path.c_str(), O_RDONLY);
        if (file < 0) {
            throw std::runtime_error("can not read " + path);
        }
        while (read(file, piece.data(), piece.size()) > 0) {
        }
        close(file);
    }
    return SecondsSince(start);
}

double ReadLayer(std::string const& path, Session::Mode mode, bool useAttributes) {
    auto const start = Clock::now();
    Session session(mode);
    session.Open(path, useAttributes);
    session.Read();
    return SecondsSince(start);
}

double Read(std::string const& path) {
    return ReadLayer(path, Session::Mode::Memory, true);
}
double ReadGeometry(std::string const& path) {
    return ReadLayer(path, Session::Mode::Memory, false);
}
double ReadCache(std::string const& path) {
    return ReadLayer(path, Session::Mode::Cache, true);
}

/// A copy of the layer in memory: what its objects cost without any file. Texts are shared.
double CopyInMemory(std::string const& path, bool useAttributes) {
    Session session(Session::Mode::Memory);
    session.Open(path, useAttributes);
    session.Read();
    auto const start = Clock::now();
    BMemoryFeatureCollection copy;
    copy.Reserve(session.Features().GetCount());
    copy.Add(session.Features());
    return SecondsSince(start);
}
double Copy(std::string const& path) {
    return CopyInMemory(path, true);
}
double CopyGeometry(std::string const& path) {
    return CopyInMemory(path, false);
}

double WalkCache(std::string const& path) {
    Session session(Session::Mode::Cache);
    session.Open(path, true);
    session.Read();
    auto const start = Clock::now();
    BFeatureCollection const& features = session.Features();
    std::uint64_t const count = features.GetCount();
    for (std::uint64_t i = 0; i < count; ++i) {
        sink = sink + features.GetAt(i)->attributes.GetCount();
    }
    return SecondsSince(start);
}

double Select(std::string const& path) {
    auto const start = Clock::now();
    Session session(Session::Mode::Direct);
    session.Open(path, false);
    std::vector<std::uint64_t> selected;
    session.Features().SelectFeatures(window, BParamList(), selected);
    sink = sink + selected.size();
    return SecondsSince(start);
}

double FetchRandomly(std::string const& path) {
    Session session(Session::Mode::Direct);
    session.Open(path, true);
    BFeatureCollection const& features = session.Features();
    auto const count = static_cast<std::uint32_t>(features.GetCount());
    Random random(11);
    auto const start = Clock::now();
    for (int i = 0; i < 100'000; ++i) {
        sink = sink + features.GetAt(random.Below(count), true)->attributes.GetCount();
    }
    return SecondsSince(start);
}

template <class RendererMaker>
double DrawWith(std::string const& path, RendererMaker makeRenderer) {
    auto const start = Clock::now();
    Session session(Session::Mode::Direct);
    session.Open(path, false);
    BRect const area = session.Extent();
    auto const renderer =
        makeRenderer(imageWidth, imageHeight, area, session.Layer().GetSingleGeometryClass());
    BRenderingParams params;
    params.renderer = renderer.get();
    params.area = area;
    session.Features().RenderFeatures(&params);
    return SecondsSince(start);
}

double Draw(std::string const& path) {
    return DrawWith(path, MakeImageRenderer);
}
double DrawNothing(std::string const& path) {
    return DrawWith(path, MakeBlindRenderer);
}

// ---------------------------------------------------------------- memory

/// The process's peak memory in MiB. Unlike getrusage, it forgets what was before exec.
double PeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stod(line.substr(6)) / 1024;
        }
    }
    throw std::runtime_error("the system does not tell the peak memory");
}

/// Reads the file in a process of its own and returns that one's peak memory.
double PeakMemoryOfReading(std::string const& path) {
    std::string const self = std::filesystem::read_symlink("/proc/self/exe");
    std::string const command = "'" + self + "' --peak-memory '" + path + "'";
    FILE* const output = popen(command.c_str(), "r");
    double mebibytes = 0;
    int const found = output ? std::fscanf(output, "%lf", &mebibytes) : 0;
    if (!output || pclose(output) != 0 || found != 1) {
        throw std::runtime_error("could not measure the memory for " + path);
    }
    return mebibytes;
}

void PrintPeakMemory(std::string const& path) {
    Session session(Session::Mode::Memory);
    session.Open(path, true);
    session.Read();
    std::printf("%.1f\n", PeakMemory());
}

// ---------------------------------------------------------------- the table, rounds and results

struct Operation {
    char const* name;
    double (*run)(std::string const& path);
    bool readsTable;
    std::uint64_t leastRecords = 0; ///< files with fewer are left out
};
constexpr Operation operations[] = {
    {"read", Read, true},
    {"read-geometry", ReadGeometry, false},
    {"copy", Copy, true},
    {"copy-geometry", CopyGeometry, false},
    {"read-cache", ReadCache, true},
    {"walk-cache", WalkCache, true},
    {"select", Select, false},
    {"fetch-100k", FetchRandomly, true, 1000},
    {"draw", Draw, false},
    {"draw-nothing", DrawNothing, false},
};

struct Arguments {
    int rounds = 5;
    std::vector<std::string> only;
    std::vector<std::string> files;

    bool Wants(char const* operation) const {
        return only.empty() || std::find(only.begin(), only.end(), operation) != only.end();
    }
};

/// The least of the times that it is shown.
struct Best {
    double seconds = std::numeric_limits<double>::max();
    void Show(double newSeconds) { seconds = std::min(seconds, newSeconds); }
};

class FileBench {
public:
    FileBench(Arguments const& arguments, std::string const& path)
        : arguments(arguments), path(path),
          recordCount((std::filesystem::file_size(WithExtension(".shx")) - 100) / 8) {}

    /// Brings the files into the system's memory.
    void WarmUp() const { ReadInPieces(AllFiles()); }

    void RunRound() {
        scanOfGeometry.Show(ReadInPieces(GeometryFiles()));
        scanOfAll.Show(ReadInPieces(AllFiles()));
        for (Operation const& operation : operations) {
            if (IsWanted(operation)) {
                results[operation.name].Show(operation.run(path));
            }
        }
    }

    void Print() const {
        std::string const name = std::filesystem::path(path).stem();
        if (arguments.Wants("scan")) {
            PrintLine(name, "scan", scanOfAll.seconds, 1);
        }
        for (Operation const& operation : operations) {
            if (IsWanted(operation)) {
                double const floor = (operation.readsTable ? scanOfAll : scanOfGeometry).seconds;
                double const seconds = results.at(operation.name).seconds;
                PrintLine(name, operation.name, seconds, seconds / floor);
            }
        }
        if (arguments.Wants("rss")) {
            std::printf("%-12s %-14s %10.1f MiB\n", name.c_str(), "rss", PeakMemoryOfReading(path));
        }
        std::fflush(stdout);
    }

private:
    bool IsWanted(Operation const& operation) const {
        return arguments.Wants(operation.name) && recordCount >= operation.leastRecords;
    }
    std::vector<std::string> GeometryFiles() const { return {path, WithExtension(".shx")}; }
    std::vector<std::string> AllFiles() const {
        return {path, WithExtension(".shx"), WithExtension(".dbf")};
    }
    std::string WithExtension(char const* extension) const {
        return std::filesystem::path(path).replace_extension(extension);
    }
    static void PrintLine(std::string const& name, char const* operation, double seconds,
                          double ratio) {
        std::printf("%-12s %-14s %10.4f %8.2f\n", name.c_str(), operation, seconds, ratio);
    }

    Arguments const& arguments;
    std::string path;
    std::uint64_t recordCount;
    Best scanOfGeometry;
    Best scanOfAll;
    std::map<std::string, Best> results;
};

void RunAll(Arguments const& arguments) {
    std::vector<FileBench> benches;
    for (std::string const& file : arguments.files) {
        benches.emplace_back(arguments, file);
    }
    for (FileBench const& bench : benches) {
        bench.WarmUp();
    }
    for (int round = 0; round < arguments.rounds; ++round) {
        for (FileBench& bench : benches) {
            bench.RunRound();
        }
    }
    for (FileBench const& bench : benches) {
        bench.Print();
    }
}

Arguments ParseArguments(int argc, char** argv) {
    Arguments arguments;
    for (int i = 1; i < argc; ++i) {
        std::string const argument = argv[i];
        bool const hasValue = i + 1 < argc;
        if (argument == "--rounds" && hasValue) {
            arguments.rounds = std::atoi(argv[++i]);
        } else if (argument == "--only" && hasValue) {
            arguments.only.emplace_back(argv[++i]);
        } else {
            arguments.files.push_back(argument);
        }
    }
    return arguments;
}

int Main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--peak-memory") {
        PrintPeakMemory(argv[2]);
        return 0;
    }
    Arguments const arguments = ParseArguments(argc, argv);
    if (arguments.files.empty() || arguments.rounds < 1) {
        std::fprintf(stderr, "usage: operation-bench [--rounds N] [--only OPERATION]… FILE.shp…\n");
        return 2;
    }
    RunAll(arguments);
    return 0;
}

} // namespace

} // namespace Ambrel::Bench

int main(int argc, char** argv) {
    try {
        return Ambrel::Bench::Main(argc, argv);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "operation-bench: %s\n", failure.what());
        return 1;
    }
}
