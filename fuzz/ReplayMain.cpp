// Replays corpus files through a fuzz target without libFuzzer: every file
// named on the command line, or found directly inside a named directory, is
// fed once to LLVMFuzzerTestOneInput, in name order.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fs = std::filesystem;

int main(int argc, char** argv)
{
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const fs::path arg = argv[i];
        if (fs::is_directory(arg)) {
            for (const auto& entry : fs::directory_iterator(arg))
                if (entry.is_regular_file())
                    inputs.push_back(entry.path());
        } else {
            inputs.push_back(arg);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    if (inputs.empty()) {
        std::fprintf(stderr, "no corpus inputs\n");
        return 1;
    }
    for (const fs::path& path : inputs) {
        std::ifstream in(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return 0;
}
