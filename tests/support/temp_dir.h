#pragma once

// A temporary directory that is removed with everything in it when the object goes away.

#include <string>

namespace skychart::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return m_path; }
    // Writes `text` to path()/relative, creating the folders on the way.
    void writeFile(const std::string& relative, const std::string& text) const;

private:
    std::string m_path;
};

// The bytes of `file`; empty when it cannot be read.
std::string ReadFile(const std::string& file);

} // namespace skychart::test
