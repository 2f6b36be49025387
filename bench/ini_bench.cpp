// Properties-file readers side by side: IniFileReader against inih (into std::map), SimpleIni,
// boost::property_tree's read_ini and a physical baseline (fread of the whole file and a count
// of its lines). Run from the repository root, in one command:
//
//   cmake --preset bench && cmake --build --preset bench --target ini_bench &&
//     build/bench/bench/ini_bench
//
// Arguments: the sizes of the large generated files in MB, 1 20 100 when none are given (0 for
// none), `--rounds N` (5 by default) and `--cpu` to time CPU instead of wall time. Two small files
// come first: about 300 bytes with 8 keys, loaded 100 000 times, and about 3 KB with 96 keys,
// loaded 20 000 times, each load followed by four lookups, as a program that reads many small
// settings files does. Each large file is loaded once and then asked 100 000 lookups (one in ten
// misses). The files hold what every reader understands alike: `[section]` headers, `key = value`
// lines, `;` comments and blank lines, in ASCII, with unique names. They are generated in a
// temporary directory and removed afterwards.
//
// Every reader runs in a forked child of its own, which loads, looks up, walks the whole store
// once (untimed) to fingerprint it, and destroys the store. Time is wall time: "load" is the
// reading of the file, "total" is load, lookups and destruction. Memory is the child's peak
// resident set (ru_maxrss) minus that of an idle child. The readers take turns in each of the
// rounds, and every figure is the median over the rounds, so that a noisy moment of a shared
// machine hits all of them alike. The run fails when the readers disagree on sections, keys,
// values or lookups. It ends with one table of IniFileReader's ratios to the others.
#include <IniContent.h>
#include <Tessarine/IniFileReader.h>

#include <SimpleIni.h>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <ini.h>

#include "ChildRun.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// One name pair to look up, in narrow form and in the wide form that IniFileReader takes.
struct Lookup {
    std::string section;
    std::string key;
    std::wstring wideSection;
    std::wstring wideKey;
};

std::wstring widen(std::string const& i_Text) {
    return std::wstring(i_Text.begin(), i_Text.end());
}

// What a child reports back through its pipe.
struct Result {
    double loadSeconds;
    double totalSeconds;
    uint64_t sections;
    uint64_t keys;
    uint64_t contentHash;
    uint64_t lookupHits;
    uint64_t lookupHash;
};

// FNV-1a over the text of one entry; entries are summed, so the order of a walk doesn't matter.
class Fingerprint {
public:
    template <typename Text> Fingerprint& operator<<(Text const& i_Text) {
        for (auto const c : i_Text) {
            m_Hash = (m_Hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
        }
        m_Hash = (m_Hash ^ 0x1f) * 1099511628211ull;
        return *this;
    }
    uint64_t value() const { return m_Hash; }

private:
    uint64_t m_Hash = 14695981039346656037ull;
};

template <typename Text>
uint64_t entryHash(Text const& i_Section, Text const& i_Key, Text const& i_Value) {
    return (Fingerprint() << i_Section << i_Key << i_Value).value();
}

// ---- the generated files -----------------------------------------------------------------

char const* const WORDS[] = {"alpha", "buffer", "cache",   "delay", "enabled", "file",   "group",
                             "host",  "index",  "journal", "keep",  "limit",   "mode",   "name",
                             "owner", "path",   "queue",   "retry", "size",    "timeout"};
constexpr size_t WORD_COUNT = sizeof(WORDS) / sizeof(WORDS[0]);

std::string sectionName(size_t i_Section) {
    return "section_" + std::to_string(i_Section);
}

std::string keyName(size_t i_Key) {
    return std::string(WORDS[i_Key % WORD_COUNT]) + "_" + std::to_string(i_Key);
}

// One section of i_Keys keys, with a comment now and then and values of one to six words.
std::string sectionText(size_t i_Section, uint32_t i_Keys, std::mt19937_64& io_Random) {
    std::string text = "[" + sectionName(i_Section) + "]\n";
    for (uint32_t k = 0; k < i_Keys; ++k) {
        if (io_Random() % 50 == 0) {
            text += "; ";
            text += WORDS[io_Random() % WORD_COUNT];
            text += " settings\n";
        }
        text += keyName(k) + " = ";
        for (size_t words = 1 + io_Random() % 6; words > 0; --words) {
            text += WORDS[io_Random() % WORD_COUNT];
            text += words > 1 ? " " : "";
        }
        text += '\n';
    }
    return text + '\n';
}

// Writes sections until the file holds about i_Bytes bytes, or exactly the sections of
// i_KeyCounts when that is not empty, and returns the number of keys of each section.
std::vector<uint32_t> generate(std::string const& i_Path, size_t i_Bytes,
                               std::vector<uint32_t> i_KeyCounts = {}) {
    std::mt19937_64 random(42);
    bool const fixed = !i_KeyCounts.empty();
    std::FILE* file = std::fopen(i_Path.c_str(), "wb");
    if (file == nullptr) {
        std::perror(i_Path.c_str());
        std::exit(1);
    }
    size_t written = 0;
    for (size_t section = 0; fixed ? section < i_KeyCounts.size() : written < i_Bytes; ++section) {
        if (!fixed) {
            i_KeyCounts.push_back(20 + static_cast<uint32_t>(random() % 180));
        }
        std::string const text = sectionText(section, i_KeyCounts[section], random);
        std::fwrite(text.data(), 1, text.size(), file);
        written += text.size();
    }
    std::fclose(file);
    return i_KeyCounts;
}

std::vector<Lookup> lookupsFor(std::vector<uint32_t> const& i_KeyCounts, size_t i_Count) {
    std::mt19937_64 random(7);
    std::vector<Lookup> lookups;
    for (size_t i = 0; i < i_Count; ++i) {
        size_t const section = random() % i_KeyCounts.size();
        size_t const keyIndex = random() % i_KeyCounts[section];
        std::string const name = sectionName(section);
        std::string const key = keyName(keyIndex) + (i % 10 == 9 ? "x" : "");
        lookups.push_back({name, key, widen(name), widen(key)});
    }
    return lookups;
}

// One file and what is done with it: i_Loads loads, each followed by i_LookupsPerLoad lookups
// (a large file is loaded once and asked all of its lookups).
struct Workload {
    std::string label;
    std::string path;
    size_t bytes;
    size_t loads;
    size_t lookupsPerLoad;
    std::vector<Lookup> lookups;
};

// ---- the readers -------------------------------------------------------------------------

class PhysicalRun {
public:
    static constexpr char const* NAME = "fread + count lines";
    void load(std::string const& i_Path) {
        m_Lines = 0;
        std::FILE* file = std::fopen(i_Path.c_str(), "rb");
        std::fseek(file, 0, SEEK_END);
        m_Data.resize(static_cast<size_t>(std::ftell(file)));
        std::rewind(file);
        m_Data.resize(std::fread(m_Data.data(), 1, m_Data.size(), file));
        std::fclose(file);
        char const* at = m_Data.data();
        char const* const end = at + m_Data.size();
        while ((at = static_cast<char const*>(std::memchr(at, '\n', size_t(end - at)))) !=
               nullptr) {
            ++m_Lines;
            ++at;
        }
    }
    bool find(Lookup const&, uint64_t&) { return false; }
    void walk(Result& o_Result) { o_Result.keys = m_Lines; } // lines stand in for keys here
    void release() { std::vector<char>().swap(m_Data); }

private:
    std::vector<char> m_Data;
    uint64_t m_Lines = 0;
};

class IniFileReaderRun {
public:
    static constexpr char const* NAME = "IniFileReader";
    // A program that uses IniFileReader holds its paths as wide text already.
    void load(std::string const& i_Path) {
        if (i_Path != m_NarrowPath) {
            m_NarrowPath = i_Path;
            m_Path = widen(i_Path);
        }
        m_Reader = std::make_unique<Tessarine::IniFileReader>(m_Path.c_str());
    }
    bool find(Lookup const& i_Lookup, uint64_t& io_Hash) {
        if (m_Reader->getProperty(i_Lookup.wideSection, i_Lookup.wideKey, m_Value) == 0) {
            return false;
        }
        io_Hash += entryHash(i_Lookup.wideSection, i_Lookup.wideKey, m_Value);
        return true;
    }
    // Without a copy of the content, which would count in the reader's peak memory.
    void walk(Result& o_Result) {
        TessarineSupport::visitContent(
            *m_Reader, [&o_Result](std::wstring const&) { ++o_Result.sections; },
            [&o_Result](std::wstring const& i_Section, std::wstring const& i_Key,
                        std::wstring const& i_Value) {
                o_Result.contentHash += entryHash(i_Section, i_Key, i_Value);
                ++o_Result.keys;
            });
    }
    void release() { m_Reader.reset(); }

private:
    std::string m_NarrowPath;
    std::wstring m_Path;
    std::unique_ptr<Tessarine::IniFileReader> m_Reader;
    std::wstring m_Value;
};

class InihRun {
public:
    static constexpr char const* NAME = "inih + std::map";
    void load(std::string const& i_Path) {
        if (ini_parse(i_Path.c_str(), &InihRun::handler, &m_Store) != 0) {
            std::fprintf(stderr, "inih: parse error\n");
            std::exit(1);
        }
    }
    bool find(Lookup const& i_Lookup, uint64_t& io_Hash) {
        auto const section = m_Store.find(i_Lookup.section);
        if (section == m_Store.end()) {
            return false;
        }
        auto const key = section->second.find(i_Lookup.key);
        if (key == section->second.end()) {
            return false;
        }
        io_Hash += entryHash(i_Lookup.section, i_Lookup.key, key->second);
        return true;
    }
    void walk(Result& o_Result) {
        o_Result.sections = m_Store.size();
        for (auto const& [section, keys] : m_Store) {
            for (auto const& [key, value] : keys) {
                o_Result.contentHash += entryHash(section, key, value);
                ++o_Result.keys;
            }
        }
    }
    void release() { m_Store.clear(); }

private:
    using Store = std::map<std::string, std::map<std::string, std::string>>;
    static int handler(void* io_Store, char const* i_Section, char const* i_Key,
                       char const* i_Value) {
        (*static_cast<Store*>(io_Store))[i_Section][i_Key] = i_Value;
        return 1;
    }
    Store m_Store;
};

class SimpleIniRun {
public:
    static constexpr char const* NAME = "SimpleIni";
    void load(std::string const& i_Path) {
        m_Ini = std::make_unique<CSimpleIniA>();
        if (m_Ini->LoadFile(i_Path.c_str()) < 0) {
            std::fprintf(stderr, "SimpleIni: load failed\n");
            std::exit(1);
        }
    }
    bool find(Lookup const& i_Lookup, uint64_t& io_Hash) {
        char const* value =
            m_Ini->GetValue(i_Lookup.section.c_str(), i_Lookup.key.c_str(), nullptr);
        if (value == nullptr) {
            return false;
        }
        io_Hash += entryHash(i_Lookup.section, i_Lookup.key, std::string(value));
        return true;
    }
    void walk(Result& o_Result) {
        CSimpleIniA::TNamesDepend sections;
        m_Ini->GetAllSections(sections);
        o_Result.sections = sections.size();
        for (auto const& section : sections) {
            CSimpleIniA::TNamesDepend keys;
            m_Ini->GetAllKeys(section.pItem, keys);
            for (auto const& key : keys) {
                std::string const value = m_Ini->GetValue(section.pItem, key.pItem, "");
                o_Result.contentHash +=
                    entryHash(std::string(section.pItem), std::string(key.pItem), value);
                ++o_Result.keys;
            }
        }
    }
    void release() { m_Ini.reset(); }

private:
    std::unique_ptr<CSimpleIniA> m_Ini;
};

class PropertyTreeRun {
public:
    static constexpr char const* NAME = "boost property_tree";
    void load(std::string const& i_Path) {
        boost::property_tree::ini_parser::read_ini(i_Path, m_Tree);
    }
    bool find(Lookup const& i_Lookup, uint64_t& io_Hash) {
        auto const section = m_Tree.find(i_Lookup.section);
        if (section == m_Tree.not_found()) {
            return false;
        }
        auto const key = section->second.find(i_Lookup.key);
        if (key == section->second.not_found()) {
            return false;
        }
        io_Hash += entryHash(i_Lookup.section, i_Lookup.key, key->second.data());
        return true;
    }
    void walk(Result& o_Result) {
        o_Result.sections = m_Tree.size();
        for (auto const& [section, keys] : m_Tree) {
            for (auto const& [key, value] : keys) {
                o_Result.contentHash += entryHash(section, key, value.data());
                ++o_Result.keys;
            }
        }
    }
    void release() { m_Tree.clear(); }

private:
    boost::property_tree::ptree m_Tree;
};

// ---- measuring ---------------------------------------------------------------------------

// Wall time, or with --cpu the CPU time of the process (user and system), which other work on a
// busy machine disturbs less.
bool g_CpuTime = false;

double now() {
    if (g_CpuTime) {
        timespec cpu{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
        return double(cpu.tv_sec) + double(cpu.tv_nsec) * 1e-9;
    }
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

// The first load is timed by its parts and fingerprinted. A small file's further loads, each
// with its few lookups, are timed as a whole and give the time per load.
template <typename Reader> Result measure(Workload const& i_Work) {
    Reader reader;
    Result result{};
    size_t const firstLookups = i_Work.loads == 1 ? i_Work.lookups.size() : i_Work.lookupsPerLoad;
    double const start = now();
    reader.load(i_Work.path);
    double const loaded = now();
    for (size_t i = 0; i < firstLookups; ++i) {
        result.lookupHits += reader.find(i_Work.lookups[i], result.lookupHash) ? 1 : 0;
    }
    double const looked = now();
    reader.walk(result);
    double const walked = now();
    reader.release();
    double const released = now();
    result.loadSeconds = loaded - start;
    result.totalSeconds = (looked - start) + (released - walked);
    if (i_Work.loads > 1) {
        double const begin = now();
        for (size_t load = 1; load < i_Work.loads; ++load) {
            reader.load(i_Work.path);
            for (size_t i = 0; i < i_Work.lookupsPerLoad; ++i) {
                Lookup const& lookup =
                    i_Work.lookups[(load * i_Work.lookupsPerLoad + i) % i_Work.lookups.size()];
                result.lookupHits += reader.find(lookup, result.lookupHash) ? 1 : 0;
            }
            reader.release();
        }
        result.totalSeconds = (now() - begin) / double(i_Work.loads - 1);
    }
    return result;
}

struct Measured {
    char const* name;
    Result result;
    long peakKilobytes;
};

template <typename Reader> Measured run(Workload const& i_Work, long i_IdleKb) {
    auto const child =
        TessarineBench::inChild(Reader::NAME, [&] { return measure<Reader>(i_Work); });
    return {Reader::NAME, child.result, std::max(0L, child.peakKilobytes - i_IdleKb)};
}

bool sameStore(Result const& i_Left, Result const& i_Right) {
    return i_Left.sections == i_Right.sections && i_Left.keys == i_Right.keys &&
           i_Left.contentHash == i_Right.contentHash && i_Left.lookupHits == i_Right.lookupHits &&
           i_Left.lookupHash == i_Right.lookupHash;
}

template <typename Value> Value median(std::vector<Value> i_Values) {
    std::nth_element(i_Values.begin(), i_Values.begin() + long(i_Values.size() / 2),
                     i_Values.end());
    return i_Values[i_Values.size() / 2];
}

// Runs every reader once per round, in turns, and keeps the medians of each; the fingerprints
// are those of the first round. Position 1 is IniFileReader, position 0 the physical baseline.
std::vector<Measured> rounds(Workload const& i_Work, int i_Rounds) {
    using Runner = Measured (*)(Workload const&, long);
    Runner const runners[] = {run<PhysicalRun>, run<IniFileReaderRun>, run<InihRun>,
                              run<SimpleIniRun>, run<PropertyTreeRun>};
    std::vector<std::vector<Measured>> all(std::size(runners));
    for (int round = 0; round < i_Rounds; ++round) {
        long const idleKb = TessarineBench::inChild("idle", [] { return Result{}; }).peakKilobytes;
        for (size_t r = 0; r < std::size(runners); ++r) {
            all[r].push_back(runners[r](i_Work, idleKb));
        }
    }
    std::vector<Measured> medians;
    for (auto const& runs : all) {
        Measured m = runs.front();
        std::vector<double> loads, totals;
        std::vector<long> peaks;
        for (auto const& each : runs) {
            loads.push_back(each.result.loadSeconds);
            totals.push_back(each.result.totalSeconds);
            peaks.push_back(each.peakKilobytes);
        }
        m.result.loadSeconds = median(loads);
        m.result.totalSeconds = median(totals);
        m.peakKilobytes = median(peaks);
        medians.push_back(m);
    }
    return medians;
}

// IniFileReader's ratios for one file, for the closing table.
struct Ratios {
    std::string label;
    double toInih;
    double toSimpleIni;
    double toPhysical;
    double memoryPerByte;
};

bool benchWorkload(Workload const& i_Work, int i_Rounds, std::vector<Ratios>& io_Ratios) {
    std::vector<Measured> const all = rounds(i_Work, i_Rounds);
    Measured const& ours = all[1];
    bool const small = i_Work.loads > 1;
    std::printf("\n%s: %" PRIu64 " sections, %" PRIu64 " keys; %zu loads, %zu lookups (%" PRIu64
                " hits)\n",
                i_Work.label.c_str(), ours.result.sections, ours.result.keys, i_Work.loads,
                small ? i_Work.loads * i_Work.lookupsPerLoad : i_Work.lookups.size(),
                ours.result.lookupHits);
    if (small) {
        std::printf("  %-22s %12s  %s\n", "reader", "us per load", "store");
    } else {
        std::printf("  %-22s %9s %9s %10s %8s  %s\n", "reader", "load s", "total s", "peak MB",
                    "x file", "store");
    }
    bool agree = true;
    for (auto const& m : all) {
        bool const same = &m == &all[0] || sameStore(m.result, ours.result);
        agree = agree && same;
        char const* const verdict = &m == &all[0] ? "-" : (same ? "same" : "DIFFERENT");
        if (small) {
            std::printf("  %-22s %12.2f  %s\n", m.name, m.result.totalSeconds * 1e6, verdict);
        } else {
            std::printf("  %-22s %9.3f %9.3f %10.1f %8.2f  %s\n", m.name, m.result.loadSeconds,
                        m.result.totalSeconds, double(m.peakKilobytes) / 1024,
                        double(m.peakKilobytes) * 1024 / double(i_Work.bytes), verdict);
        }
    }
    if (!small) {
        std::printf("  IniFileReader relative to:   load     total    peak memory\n");
        for (auto const& m : all) {
            if (&m != &ours) {
                std::printf("    %-22s %7.2fx %7.2fx %9.2fx\n", m.name,
                            ours.result.loadSeconds / m.result.loadSeconds,
                            ours.result.totalSeconds / m.result.totalSeconds,
                            double(ours.peakKilobytes) / double(std::max(1L, m.peakKilobytes)));
            }
        }
    }
    double const total = ours.result.totalSeconds;
    io_Ratios.push_back({i_Work.label, total / all[2].result.totalSeconds,
                         total / all[3].result.totalSeconds, total / all[0].result.totalSeconds,
                         small ? 0 : double(ours.peakKilobytes) * 1024 / double(i_Work.bytes)});
    return agree;
}

void printRatios(std::vector<Ratios> const& i_Ratios, int i_Rounds) {
    std::printf("\nIniFileReader / other reader, total %s time per load (medians of %d rounds)\n",
                g_CpuTime ? "CPU" : "wall", i_Rounds);
    std::printf("  %-26s %8s %11s %13s %11s\n", "file", "/ inih", "/ SimpleIni", "/ fread+lines",
                "RSS / file");
    for (auto const& r : i_Ratios) {
        std::printf("  %-26s %7.2fx %10.2fx %12.1fx", r.label.c_str(), r.toInih, r.toSimpleIni,
                    r.toPhysical);
        if (r.memoryPerByte > 0) {
            std::printf(" %11.2f\n", r.memoryPerByte);
        } else {
            std::printf(" %11s\n", "-");
        }
    }
}

Workload smallWorkload(std::string const& i_Directory, std::vector<uint32_t> const& i_KeyCounts,
                       size_t i_Loads) {
    uint32_t keys = 0;
    for (uint32_t const count : i_KeyCounts) {
        keys += count;
    }
    std::string const path = i_Directory + "/small-" + std::to_string(keys) + ".ini";
    generate(path, 0, i_KeyCounts);
    size_t const bytes = std::filesystem::file_size(path);
    std::string const label = std::to_string(bytes) + " B, " + std::to_string(keys) + " keys";
    return {label, path, bytes, i_Loads, 4, lookupsFor(i_KeyCounts, 64)};
}

Workload largeWorkload(std::string const& i_Directory, size_t i_Megabytes) {
    std::string const path = i_Directory + "/bench-" + std::to_string(i_Megabytes) + "MB.ini";
    size_t const bytes = i_Megabytes * 1024 * 1024;
    std::vector<Lookup> lookups = lookupsFor(generate(path, bytes), 100000);
    return {std::to_string(i_Megabytes) + " MB", path, bytes, 1, 0, std::move(lookups)};
}

} // namespace

int main(int i_Count, char** i_Arguments) {
    std::vector<size_t> sizes;
    int roundCount = 5;
    for (int i = 1; i < i_Count; ++i) {
        if (std::strcmp(i_Arguments[i], "--cpu") == 0) {
            g_CpuTime = true;
        } else if (std::strcmp(i_Arguments[i], "--rounds") == 0 && i + 1 < i_Count) {
            roundCount = std::max(1, std::atoi(i_Arguments[++i]));
        } else {
            sizes.push_back(std::strtoul(i_Arguments[i], nullptr, 10));
        }
    }
    if (sizes.empty()) {
        sizes = {1, 20, 100};
    }
    char const* tmp = std::getenv("TMPDIR");
    std::string directory = std::string(tmp != nullptr ? tmp : "/tmp") + "/ini_bench_XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    std::vector<Workload> work = {smallWorkload(directory, {8}, 100000),
                                  smallWorkload(directory, {24, 24, 24, 24}, 20000)};
    for (size_t const megabytes : sizes) {
        if (megabytes > 0) {
            work.push_back(largeWorkload(directory, megabytes));
        }
    }
    bool agree = true;
    std::vector<Ratios> ratios;
    for (auto const& each : work) {
        agree = benchWorkload(each, roundCount, ratios) && agree;
        std::remove(each.path.c_str());
    }
    rmdir(directory.c_str());
    printRatios(ratios, roundCount);
    if (!agree) {
        std::fprintf(stderr, "\nthe readers disagree about the contents\n");
        return 1;
    }
    return 0;
}
