// Stands in for libFuzzer where it is not built in: runs the target once over each file named on
// the command line, or in a folder named there.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

void run(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char **argv)
{
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            run(argv[i]);
            ++runs;
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            run(entry.path());
            ++runs;
        }
    }
    std::cout << runs << " inputs" << std::endl;
    return runs > 0 ? 0 : 1;
}
