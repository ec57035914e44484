#include "temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace skychart::test {

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/skychart-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!::mkdtemp(buffer.data())) {
        throw std::runtime_error("cannot create a temporary directory");
    }
    m_path = buffer.data();
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void TempDir::writeFile(const std::string& relative, const std::string& text) const {
    const std::filesystem::path file = std::filesystem::path(m_path) / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

std::string ReadFile(const std::string& file) {
    return {std::istreambuf_iterator<char>(std::ifstream(file, std::ios::binary).rdbuf()), {}};
}

} // namespace skychart::test
