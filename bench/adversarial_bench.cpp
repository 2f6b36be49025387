// IniFileReader on files made to find work that grows faster than the file: each case is read
// at a size of a million (lines, keys, sections or rows) and at four million, and the table gives
// how much the work, the time and the peak memory grew. A load that is linear in its file grows
// about 4x.
//
//   cmake --preset bench && cmake --build --preset bench --target adversarial_bench &&
//     build/bench/bench/adversarial_bench [part of a case's name]
//
// The work is the number of instructions of the load, as callgrind counts them: the same on any
// machine and in any run, so it must grow at most 4.3x. Time also pays for the cache, which holds
// less of a larger store, and for a busy machine; it must grow at most 6x. Memory must grow at
// most 4.5x. The exit status is 1 when a growth exceeds its bound.
//
// Each file is loaded five times, in turns with the file of the other size, each time in a forked
// child of its own; time is the shortest wall time of the load and memory the largest peak
// resident set minus that of an idle child. Then the program runs itself once per file under
// `valgrind --tool=callgrind`, which counts the instructions between the start and the end of the
// load only; without valgrind the column shows "-" and is not judged. The files are generated in a
// temporary directory and removed afterwards.
#include <Tessarine/IniFileReader.h>

#include "ChildRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

// The smaller size of every case.
constexpr size_t N = 1000000;

// One way to build a file of size n.
struct Case {
    char const* name;
    std::string (*text)(size_t i_N);
};

std::string keyLines(size_t i_Count, std::string const& i_Line) {
    std::string text;
    text.reserve(i_Count * i_Line.size());
    for (size_t i = 0; i < i_Count; ++i) {
        text += i_Line;
    }
    return text;
}

Case const CASES[] = {
    {"long header, n keys",
     [](size_t i_N) { return "[" + std::string(40 * i_N, 'h') + "]\n" + keyLines(i_N, "k=v\n"); }},
    {"one line of 64n bytes",
     [](size_t i_N) { return "key=" + std::string(64 * i_N, 'v') + "\n"; }},
    {"one key n times", [](size_t i_N) { return keyLines(i_N, "key = some value\n"); }},
    {"n sections",
     [](size_t i_N) {
         std::string text;
         for (size_t i = 0; i < i_N; ++i) {
             text += "[s" + std::to_string(i) + "]\nk=v\n";
         }
         return text;
     }},
    {"n continued rows", [](size_t i_N) { return "key=" + keyLines(i_N, "  part\\\n") + "end\n"; }},
    {"n lines of NULs",
     [](size_t i_N) {
         std::string text;
         for (size_t i = 0; i < i_N; ++i) {
             text += std::to_string(i) + std::string(20, '\0') + "=" + std::string(40, '\0') + "\n";
         }
         return text;
     }},
};

// The fastest of a file's loads, the largest peak memory of any (noise only ever adds time), and
// the instructions of the load, 0 when they could not be counted.
struct Figures {
    double seconds = 1e300;
    long peakKilobytes = 0;
    uint64_t instructions = 0;
};

// The option with which the program runs itself under callgrind, followed by the file to load.
char const COUNT_OPTION[] = "--count-instructions-of";

std::unique_ptr<Tessarine::IniFileReader> load(std::string const& i_Path) {
    std::wstring const path(i_Path.begin(), i_Path.end());
    return std::make_unique<Tessarine::IniFileReader>(path.c_str());
}

// Loads the file in a child and counts the time of the load and its memory above an idle child's.
void loadOnce(std::string const& i_Path, long i_IdleKb, Figures& io_Figures) {
    auto const run = TessarineBench::inChild("load", [&] {
        auto const start = std::chrono::steady_clock::now();
        auto const reader = load(i_Path);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    });
    io_Figures.seconds = std::min(io_Figures.seconds, run.result);
    io_Figures.peakKilobytes =
        std::max({io_Figures.peakKilobytes, run.peakKilobytes - i_IdleKb, 1L});
}

// What the program does under callgrind: the load alone is instrumented, not the start of the
// process nor the destruction of the reader.
int countedLoad(std::string const& i_Path) {
    CALLGRIND_START_INSTRUMENTATION;
    auto const reader = load(i_Path);
    CALLGRIND_STOP_INSTRUMENTATION;
    return 0;
}

// The total of a callgrind output file, 0 when there is none.
uint64_t callgrindTotal(std::string const& i_OutFile) {
    std::ifstream output(i_OutFile);
    std::string line;
    while (std::getline(output, line)) {
        if (line.compare(0, 7, "totals:") == 0) {
            return std::strtoull(line.c_str() + 7, nullptr, 10);
        }
    }
    return 0;
}

// The instructions of one load of the file, counted by callgrind in a run of this program; 0
// when valgrind cannot be run.
uint64_t countInstructions(std::string const& i_Path, std::string const& i_Directory) {
    std::string const self = std::filesystem::read_symlink("/proc/self/exe");
    std::string const outFile = i_Directory + "/callgrind.out";
    std::string const outOption = "--callgrind-out-file=" + outFile;
    // What this process has printed so far must not be printed by the child too.
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child == 0) {
        int const quiet = open("/dev/null", O_WRONLY);
        dup2(quiet, STDOUT_FILENO);
        dup2(quiet, STDERR_FILENO);
        execlp("valgrind", "valgrind", "--tool=callgrind", "--instr-atstart=no", outOption.c_str(),
               self.c_str(), COUNT_OPTION, i_Path.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        return 0;
    }
    uint64_t const total = callgrindTotal(outFile);
    std::remove(outFile.c_str());
    return total;
}

// Writes the text of case i_Case at size i_N. A child writes it, since a forked child counts
// what its parent holds, and memory that the parent has freed would hide the reader's.
std::string writeCase(Case const& i_Case, size_t i_N, std::string const& i_Path) {
    TessarineBench::inChild("write", [&] {
        std::string const text = i_Case.text(i_N);
        std::FILE* file = std::fopen(i_Path.c_str(), "wb");
        if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() ||
            std::fclose(file) != 0) {
            std::perror(i_Path.c_str());
            std::exit(1);
        }
        return 0;
    });
    return i_Path;
}

// The figures of case i_Case at N and at 4N. The two files are loaded in turns, five times each,
// so that a slow moment of the machine falls on both sizes alike.
std::array<Figures, 2> measure(Case const& i_Case, std::string const& i_Directory) {
    std::array<std::string, 2> const paths = {writeCase(i_Case, N, i_Directory + "/n.ini"),
                                              writeCase(i_Case, 4 * N, i_Directory + "/4n.ini")};
    long const idleKb = TessarineBench::inChild("idle", [] { return 0; }).peakKilobytes;
    std::array<Figures, 2> figures;
    for (int round = 0; round < 5; ++round) {
        for (size_t size = 0; size < paths.size(); ++size) {
            loadOnce(paths[size], idleKb, figures[size]);
        }
    }
    for (size_t size = 0; size < paths.size(); ++size) {
        figures[size].instructions = countInstructions(paths[size], i_Directory);
        std::remove(paths[size].c_str());
    }
    return figures;
}

// How much a figure grew from n to 4n, and whether that is within its bound.
struct Growth {
    double factor;
    bool within;
};

Growth growth(double i_Small, double i_Large, double i_Bound) {
    double const factor = i_Large / i_Small;
    return {factor, factor <= i_Bound};
}

// Prints one row of the table and tells whether every growth in it is within its bound.
bool report(char const* i_Name, Figures const& i_Small, Figures const& i_Large) {
    Growth const time = growth(i_Small.seconds, i_Large.seconds, 6.0);
    Growth const memory = growth(double(i_Small.peakKilobytes), double(i_Large.peakKilobytes), 4.5);
    std::printf("%-24s %8.1f %8.1f %6.2fx", i_Name, i_Small.seconds * 1e3, i_Large.seconds * 1e3,
                time.factor);
    bool const counted = i_Small.instructions != 0 && i_Large.instructions != 0;
    Growth work{0, true};
    if (counted) {
        work = growth(double(i_Small.instructions), double(i_Large.instructions), 4.3);
        std::printf(" %8.1f %8.1f %6.2fx", double(i_Small.instructions) / 1e6,
                    double(i_Large.instructions) / 1e6, work.factor);
    } else {
        std::printf(" %8s %8s %7s", "-", "-", "-");
    }
    std::printf(" %8.1f %8.1f %6.2fx\n", double(i_Small.peakKilobytes) / 1024,
                double(i_Large.peakKilobytes) / 1024, memory.factor);
    return time.within && work.within && memory.within;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], COUNT_OPTION) == 0) {
        return countedLoad(argv[2]);
    }
    char const* tmp = std::getenv("TMPDIR");
    std::string directory = std::string(tmp != nullptr ? tmp : "/tmp") + "/adversarial_XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    std::printf("n = %zu; growth from n to 4n: time at most 6x, instructions 4.3x, memory 4.5x\n"
                "%-24s %8s %8s %7s %8s %8s %7s %8s %8s %7s\n",
                N, "case", "ms n", "ms 4n", "growth", "Minstr n", "Minstr 4n", "growth", "MB n",
                "MB 4n", "growth");
    bool linear = true;
    for (Case const& each : CASES) {
        if (argc > 1 && std::strstr(each.name, argv[1]) == nullptr) {
            continue;
        }
        auto const [small, large] = measure(each, directory);
        linear = report(each.name, small, large) && linear;
    }
    rmdir(directory.c_str());
    std::printf(linear ? "\nevery growth is within its bound\n"
                       : "\nSOME GROWTH EXCEEDS ITS BOUND\n");
    return linear ? 0 : 1;
}
