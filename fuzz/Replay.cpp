// Runs a fuzz target over the files of the folders it is given. None at all is a failure: the corpus is
// missing.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (auto const& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (!entry.is_regular_file())
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            std::string const text(std::istreambuf_iterator<char>(file), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(text.data()), text.size());
            ++files;
        }
    }
    std::printf("%d files replayed\n", files);
    return files > 0 ? 0 : 1;
}
