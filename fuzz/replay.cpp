// Runs the fuzz target once on every file it is given, and on every file inside the directories
// it is given, as libFuzzer does when it replays a corpus. Linked with the target by any
// compiler, it checks the corpus in an ordinary test build, not only while fuzzing with clang.
// A missing path, or no input at all, fails: a wrong path must not pass as an empty corpus.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* io_Argc, char*** io_Argv);
extern "C" int LLVMFuzzerTestOneInput(uint8_t const* i_Data, size_t i_Size);

namespace {

std::vector<std::filesystem::path> inputsIn(std::filesystem::path const& i_Path) {
    if (!std::filesystem::is_directory(i_Path)) {
        return {i_Path};
    }
    std::vector<std::filesystem::path> files;
    for (auto const& entry : std::filesystem::directory_iterator(i_Path)) {
        files.push_back(entry.path());
    }
    return files;
}

std::string contentOf(std::filesystem::path const& i_File) {
    std::ifstream file(i_File, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    size_t replayed = 0;
    for (int arg = 1; arg < argc; ++arg) {
        if (!std::filesystem::exists(argv[arg])) {
            std::fprintf(stderr, "replay: %s: no such file or directory\n", argv[arg]);
            return 1;
        }
        for (std::filesystem::path const& file : inputsIn(argv[arg])) {
            // Named first, so that a crash shows which input it was.
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            std::string const data = contentOf(file);
            LLVMFuzzerTestOneInput(reinterpret_cast<uint8_t const*>(data.data()), data.size());
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
