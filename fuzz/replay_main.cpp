// Runs the reader harness over saved inputs: the demo club's own file and
// every input the fuzzer once found crashing, kept in fuzz/corpus/KIND.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/reader_fuzz.h"

int main(int argc, char **argv) {
    if (argc < 3 || !fuzz_select(argv[1])) {
        fprintf(stderr, "usage: fuzz_replay KIND FILE-OR-DIRECTORY...\n");
        return 2;
    }
    std::vector<std::filesystem::path> inputs;
    for (int i = 2; i < argc; i++) {
        std::filesystem::path p = std::filesystem::absolute(argv[i]);
        if (std::filesystem::is_directory(p)) {
            for (const auto &e : std::filesystem::directory_iterator(p))
                if (e.is_regular_file() && e.path().filename() != ".keep")
                    inputs.push_back(e.path());
        } else {
            inputs.push_back(p);
        }
    }
    fuzz_setup(VARNOK_DEMO_DIR);
    for (const auto &p : inputs) {
        std::ifstream in(p, std::ios::binary);
        std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        fprintf(stderr, "replaying %s\n", p.c_str());
        fuzz_one(reinterpret_cast<const uint8_t *>(data.data()), data.size());
    }
    fprintf(stderr, "%zu inputs replayed\n", inputs.size());
    return 0;
}
