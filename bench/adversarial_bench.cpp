// IniFileReader on files made to find work that grows faster than the file: each case is read
// at a size of a million (lines, keys, sections or rows) and at four million, and the table gives
// how much time and peak memory grew. A load that is linear in its file grows about 4x; every
// growth should stay at about 4.5x or below.
//
//   cmake --preset bench && cmake --build --preset bench --target adversarial_bench &&
//     build/bench/bench/adversarial_bench [part of a case's name]
//
// Each file is loaded five times, in turns with the file of the other size, each time in a forked
// child of its own; time is the shortest wall time of the load and memory the largest peak
// resident set minus that of an idle child. The files are generated in a temporary directory and
// removed afterwards.
#include <Tessarine/IniFileReader.h>

#include "ChildRun.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

// The fastest of a file's loads and the largest peak memory of any: noise only ever adds time.
struct Figures {
    double seconds = 1e300;
    long peakKilobytes = 0;
};

// Loads the file in a child and counts the time of the load and its memory above an idle child's.
void loadOnce(std::string const& i_Path, long i_IdleKb, Figures& io_Figures) {
    std::wstring const path(i_Path.begin(), i_Path.end());
    auto const run = TessarineBench::inChild("load", [&] {
        auto const start = std::chrono::steady_clock::now();
        Tessarine::IniFileReader const reader(path.c_str());
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    });
    io_Figures.seconds = std::min(io_Figures.seconds, run.result);
    io_Figures.peakKilobytes =
        std::max({io_Figures.peakKilobytes, run.peakKilobytes - i_IdleKb, 1L});
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
    for (std::string const& path : paths) {
        std::remove(path.c_str());
    }
    return figures;
}

} // namespace

int main(int argc, char** argv) {
    char const* tmp = std::getenv("TMPDIR");
    std::string directory = std::string(tmp != nullptr ? tmp : "/tmp") + "/adversarial_XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    std::printf("n = %zu\n%-24s %9s %9s %7s %9s %9s %7s\n", N, "case", "ms at n", "ms at 4n",
                "growth", "MB at n", "MB at 4n", "growth");
    bool linear = true;
    for (Case const& each : CASES) {
        if (argc > 1 && std::strstr(each.name, argv[1]) == nullptr) {
            continue;
        }
        auto const [small, large] = measure(each, directory);
        double const time = large.seconds / small.seconds;
        double const memory = double(large.peakKilobytes) / double(small.peakKilobytes);
        linear = linear && time <= 4.5 && memory <= 4.5;
        std::printf("%-24s %9.1f %9.1f %6.2fx %9.1f %9.1f %6.2fx\n", each.name, small.seconds * 1e3,
                    large.seconds * 1e3, time, double(small.peakKilobytes) / 1024,
                    double(large.peakKilobytes) / 1024, memory);
    }
    rmdir(directory.c_str());
    std::printf(linear ? "\nevery growth is at most 4.5x\n" : "\nSOME GROWTH EXCEEDS 4.5x\n");
    return linear ? 0 : 1;
}
