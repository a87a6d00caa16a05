#include "commands/Tool.h"
#include "terminal/Console.h"
#include "terminal/Interrupt.h"

#include <QTextCodec>

#include <cstdlib>
#include <string_view>

#include <sys/resource.h>
#include <unistd.h>

namespace {

bool WantsColors() {
    char const* const noColor = std::getenv("NO_COLOR");
    char const* const terminal = std::getenv("TERM");
    bool const isRefused = noColor && *noColor;
    bool const isDumb = !terminal || std::string_view(terminal) == "dumb";
    return !isRefused && !isDumb && isatty(STDOUT_FILENO);
}

/// A shapefile takes three handles, and others belong to the libraries: as many as the system
/// gives.
void RaiseHandleLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace

int main(int argc, char** argv) {
    using namespace Ambrel::Tool;
    CatchInterrupts();
    RaiseHandleLimit();
    // File names are UTF-8 here whatever the locale says: under "C", Qt would lose their accents.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    FileSink out(STDOUT_FILENO, "standard output");
    FileSink errFile(STDERR_FILENO, "standard error");
    BestEffortSink err(errFile);
    Console console{.out = out,
                    .err = err,
                    .colors = WantsColors(),
                    .isTerminal = isatty(STDOUT_FILENO) != 0,
                    .showProgress = isatty(STDERR_FILENO) != 0};
    return RunTool({argv + (argc > 0 ? 1 : 0), argv + argc}, console);
}
