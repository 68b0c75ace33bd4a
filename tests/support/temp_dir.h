// A temporary folder of the test's own under $TMPDIR (or /tmp), removed with everything in it when the
// object goes out of scope, whichever way the test ends.
#ifndef ZP_TESTS_SUPPORT_TEMP_DIR_H
#define ZP_TESTS_SUPPORT_TEMP_DIR_H

#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace zptest {

class TempDir {
public:
    TempDir() {
        const char* base = ::getenv("TMPDIR");
        std::string pattern =
            std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zp_test_XXXXXX";
        if (::mkdtemp(pattern.data()) != nullptr) m_path = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        if (!m_path.empty()) std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    bool Valid() const { return !m_path.empty(); }
    const std::string& Path() const { return m_path; }
    // A path for a file inside the folder.
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace zptest

#endif  // ZP_TESTS_SUPPORT_TEMP_DIR_H
