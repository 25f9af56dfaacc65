// Runs a fuzz target over a folder of inputs and over mutations of them, the same ones every time.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kMutationsPerInput = 400;

void run(const std::string& input)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

std::string mutated(std::string input, std::mt19937& random, const std::vector<std::string>& inputs)
{
    const auto below = [&random](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
        const std::size_t at = below(input.size());
        switch (below(5)) {
        case 0:
            if (!input.empty())
                input[at] = static_cast<char>(random());
            break;
        case 1:
            input.erase(at, 1 + below(16));
            break;
        case 2:
            input.insert(at, input.substr(below(input.size()), below(64)));
            break;
        case 3: {
            const std::string& other = inputs[below(inputs.size())];
            input.insert(at, other.substr(below(other.size()), below(64)));
            break;
        }
        default:
            input.resize(at);
        }
    }
    return input;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> inputs;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    if (inputs.empty()) {
        std::fputs("no inputs\n", stderr);
        return 1;
    }
    std::mt19937 random(1);
    for (const auto& input : inputs) {
        run(input);
        for (int i = 0; i < kMutationsPerInput; ++i)
            run(mutated(input, random, inputs));
    }
    std::printf("%zu inputs, %zu mutations\n", inputs.size(), inputs.size() * kMutationsPerInput);
    return 0;
}
