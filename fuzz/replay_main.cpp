// Runs a fuzz target once on every file of the folders (or the files) named on the command line,
// in name order, so that the committed corpora are replayed by ctest in the ordinary builds. A
// failing property aborts, as it does under libFuzzer. An empty corpus is an error: the test
// would prove nothing.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> InputsOf(const fs::path& path) {
    std::vector<fs::path> inputs;
    if (fs::is_directory(path)) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
            if (entry.is_regular_file()) {
                inputs.push_back(entry.path());
            }
        }
        std::sort(inputs.begin(), inputs.end());
    } else {
        inputs.push_back(path);
    }
    return inputs;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER_OR_FILE...\n", argv[0]);
        return 2;
    }
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& input : InputsOf(argv[i])) {
            std::ifstream file(input, std::ios::binary);
            if (!file) {
                std::fprintf(stderr, "cannot read %s\n", input.c_str());
                return 2;
            }
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file),
                                          std::istreambuf_iterator<char>()};
            // A pointer that is valid even for an empty input, as libFuzzer passes one.
            static const std::uint8_t kEmpty = 0;
            const auto* data =
                bytes.empty() ? &kEmpty : reinterpret_cast<const std::uint8_t*>(bytes.data());
            LLVMFuzzerTestOneInput(data, bytes.size());
            ++replayed;
        }
    }
    if (replayed == 0) {
        std::fprintf(stderr, "no inputs found\n");
        return 1;
    }
    std::printf("replayed %zu inputs\n", replayed);
    return 0;
}
