// The file through which a target hands its input to IniFileReader, which reads files only: one
// per process, in TMPDIR, removed when the process ends.
#ifndef TESSARINE_FUZZ_SCRATCHFILE_H
#define TESSARINE_FUZZ_SCRATCHFILE_H

#include "WideInput.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unistd.h>

namespace TessarineFuzz {

class ScratchFile {
public:
    ScratchFile() {
        char const* directory = std::getenv("TMPDIR");
        m_Path = std::string(directory != nullptr ? directory : "/tmp") + "/tessarine_fuzz_XXXXXX";
        int const descriptor = mkstemp(m_Path.data());
        check(descriptor >= 0);
        close(descriptor);
        m_WidePath.assign(m_Path.begin(), m_Path.end());
    }
    ~ScratchFile() { std::remove(m_Path.c_str()); }
    ScratchFile(ScratchFile const&) = delete;
    ScratchFile& operator=(ScratchFile const&) = delete;

    /// Makes the bytes the file's whole content; gives the path that the reader opens.
    std::wstring const& hold(std::string_view i_Bytes) {
        std::FILE* file = std::fopen(m_Path.c_str(), "wb");
        check(file != nullptr);
        check(std::fwrite(i_Bytes.data(), 1, i_Bytes.size(), file) == i_Bytes.size());
        check(std::fclose(file) == 0);
        return m_WidePath;
    }

private:
    std::string m_Path;
    std::wstring m_WidePath;
};

} // namespace TessarineFuzz

#endif
