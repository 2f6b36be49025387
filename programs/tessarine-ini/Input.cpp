#include "Input.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace TessarineTools {
namespace {

constexpr std::size_t BLOCK_SIZE = 1 << 16;

/// Standard input for `-` (as a descriptor of its own, so that both can be closed alike), else
/// the named file.
int openSource(std::string const& i_Name) {
    int const source = i_Name == "-" ? ::dup(STDIN_FILENO) : ::open(i_Name.c_str(), O_RDONLY);
    if (source < 0) {
        throw InputError(std::strerror(errno));
    }
    return source;
}

/// Reads the descriptor to its end and hands each block to the sink; false, with errno, when a
/// read fails.
template <typename Sink> bool readAll(int i_Descriptor, Sink i_Sink) {
    char block[BLOCK_SIZE];
    for (;;) {
        ssize_t const count = ::read(i_Descriptor, block, sizeof block);
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0) {
            i_Sink(block, static_cast<std::size_t>(count));
        }
    }
}

void writeAll(int i_Descriptor, char const* i_Bytes, std::size_t i_Count) {
    while (i_Count > 0) {
        ssize_t const written = ::write(i_Descriptor, i_Bytes, i_Count);
        if (written < 0 && errno != EINTR) {
            // A memory file fails to grow only for want of memory.
            throw std::bad_alloc();
        }
        std::size_t const done = written > 0 ? static_cast<std::size_t>(written) : 0;
        i_Bytes += done;
        i_Count -= done;
    }
}

int newMemoryFile() {
    int const file = ::memfd_create("tessarine-ini", MFD_CLOEXEC);
    if (file < 0) {
        throw std::bad_alloc();
    }
    return file;
}

} // namespace

FileDescriptor::~FileDescriptor() {
    ::close(m_Descriptor);
}

Input::Input(std::string const& i_Name) : m_Copy(newMemoryFile()), m_Size(0) {
    FileDescriptor const source(openSource(i_Name));
    bool const complete = readAll(source.get(), [this](char const* i_Bytes, std::size_t i_Count) {
        writeAll(m_Copy.get(), i_Bytes, i_Count);
        m_Size += i_Count;
    });
    if (!complete) {
        throw InputError(std::strerror(errno));
    }
}

std::wstring Input::readerPath() const {
    return L"/dev/fd/" + std::to_wstring(m_Copy.get());
}

std::string Input::bytes() const {
    std::string bytes;
    bytes.reserve(m_Size);
    // The copy is in memory: reading it back fails only for want of memory, which append()
    // reports by itself.
    ::lseek(m_Copy.get(), 0, SEEK_SET);
    readAll(m_Copy.get(),
            [&bytes](char const* i_Bytes, std::size_t i_Count) { bytes.append(i_Bytes, i_Count); });
    return bytes;
}

} // namespace TessarineTools
