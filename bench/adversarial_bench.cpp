// IniFileReader on files made to find work that grows faster than the file: each case is read
// at a size of a million (lines, keys, sections or rows) and at four million, and the table gives
// how much time and peak memory grew. A load that is linear in its file grows about 4x; every
// growth should stay at about 4.5x or below.
//
//   cmake --preset bench && cmake --build --preset bench --target adversarial_bench &&
//     build/bench/bench/adversarial_bench [part of a case's name]
//
// Each file is loaded five times, each time in a forked child of its own; time is the median
// wall time of the load and memory the largest peak resident set minus that of an idle child. The
// files are generated in a temporary directory and removed afterwards.
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

struct Load {
    double seconds;
    int sections;
};

// Loads the file in a child: the time of the load and the memory above an idle child's.
TessarineBench::ChildRun<Load> measure(std::string const& i_Path, long i_IdleKb) {
    std::wstring const path(i_Path.begin(), i_Path.end());
    auto run = TessarineBench::inChild("load", [&] {
        auto const start = std::chrono::steady_clock::now();
        Tessarine::IniFileReader reader(path.c_str());
        auto const end = std::chrono::steady_clock::now();
        return Load{std::chrono::duration<double>(end - start).count(), reader.getSectionCount()};
    });
    run.peakKilobytes = std::max(1L, run.peakKilobytes - i_IdleKb);
    return run;
}

// Writes the text of case i_Case at size i_N and loads the file five times: the median time,
// and the largest peak memory. A child writes the file, since a forked child counts what its
// parent holds, and memory that the parent has freed would hide the reader's.
TessarineBench::ChildRun<Load> loadOf(Case const& i_Case, size_t i_N,
                                      std::string const& i_Directory) {
    std::string const path = i_Directory + "/adversarial.ini";
    TessarineBench::inChild("write", [&] {
        std::string const text = i_Case.text(i_N);
        std::FILE* file = std::fopen(path.c_str(), "wb");
        if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() ||
            std::fclose(file) != 0) {
            std::perror(path.c_str());
            std::exit(1);
        }
        return 0;
    });
    long const idleKb = TessarineBench::inChild("idle", [] { return 0; }).peakKilobytes;
    std::array<TessarineBench::ChildRun<Load>, 5> runs;
    for (auto& run : runs) {
        run = measure(path, idleKb);
    }
    std::remove(path.c_str());
    std::sort(runs.begin(), runs.end(), [](auto const& i_Left, auto const& i_Right) {
        return i_Left.result.seconds < i_Right.result.seconds;
    });
    long peak = 0;
    for (auto const& run : runs) {
        peak = std::max(peak, run.peakKilobytes);
    }
    return {runs[runs.size() / 2].result, peak};
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
        auto const small = loadOf(each, N, directory);
        auto const large = loadOf(each, 4 * N, directory);
        double const time = large.result.seconds / small.result.seconds;
        double const memory = double(large.peakKilobytes) / double(small.peakKilobytes);
        linear = linear && time <= 4.5 && memory <= 4.5;
        std::printf("%-24s %9.1f %9.1f %6.2fx %9.1f %9.1f %6.2fx\n", each.name,
                    small.result.seconds * 1e3, large.result.seconds * 1e3, time,
                    double(small.peakKilobytes) / 1024, double(large.peakKilobytes) / 1024, memory);
    }
    rmdir(directory.c_str());
    std::printf(linear ? "\nevery growth is at most 4.5x\n" : "\nSOME GROWTH EXCEEDS 4.5x\n");
    return linear ? 0 : 1;
}
