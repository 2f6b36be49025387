#ifndef TESSARINE_TOOLS_INPUT_H
#define TESSARINE_TOOLS_INPUT_H

#include <cstddef>
#include <stdexcept>
#include <string>

namespace TessarineTools {

/// The input cannot be opened or read; what() gives the system's reason.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Owns a file descriptor and closes it.
class FileDescriptor {
public:
    explicit FileDescriptor(int i_Descriptor) : m_Descriptor(i_Descriptor) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor const&) = delete;
    FileDescriptor& operator=(FileDescriptor const&) = delete;

    int get() const { return m_Descriptor; }

private:
    int m_Descriptor;
};

/// The input, read exactly once, whatever it is: a file, standard input (`-`), a pipe, a FIFO,
/// `/dev/stdin` or a process substitution. Its bytes are copied into an anonymous memory file,
/// which the reader opens by its /dev/fd name: so nothing waits on the input a second time, and
/// what the reader reads is what the other modes look at.
class Input {
public:
    /// Reads the input to its end. Throws InputError when it cannot be opened or read, and
    /// std::bad_alloc when the copy finds no memory.
    explicit Input(std::string const& i_Name);

    /// A path that opens the copy from its start.
    std::wstring readerPath() const;
    /// The bytes of the input.
    std::string bytes() const;

private:
    FileDescriptor m_Copy;
    std::size_t m_Size;
};

} // namespace TessarineTools

#endif
