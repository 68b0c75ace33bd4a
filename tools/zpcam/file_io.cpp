#include "file_io.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "exit_codes.h"

namespace zpcam {

namespace {

[[noreturn]] void FileFailure(const std::string& what, const std::string& path) {
    throw ToolError(kExitFile, what + " " + path + ": " + std::strerror(errno));
}

}  // namespace

std::string ReadTextFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) FileFailure("cannot read", path);
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) FileFailure("cannot read", path);
    return text.str();
}

void WriteTextFile(const std::string& path, const std::string& text) {
    WriteBinaryFile(path, text.data(), text.size());
}

void WriteBinaryFile(const std::string& path, const void* data, std::size_t size) {
    const std::string temporary = path + ".part" + std::to_string(::getpid());
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr) FileFailure("cannot write", path);
    const bool written = std::fwrite(data, 1, size, file) == size;
    const int savedErrno = errno;
    if (std::fclose(file) != 0 || !written) {
        if (!written) errno = savedErrno;
        const int reason = errno;
        std::remove(temporary.c_str());
        errno = reason;
        FileFailure("cannot write", path);
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int reason = errno;
        std::remove(temporary.c_str());
        errno = reason;
        FileFailure("cannot write", path);
    }
}

}  // namespace zpcam
