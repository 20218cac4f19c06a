#include "support.hpp"

#include <cstdlib>

namespace test {

std::vector<uint32_t> seeds() {
    std::vector<uint32_t> all{1, 2, 3, 4, 5, 6, 7, 8};
    if (const char *chosen = std::getenv("QVDS_TEST_SEED"))
        all.push_back(static_cast<uint32_t>(std::strtoul(chosen, nullptr, 10)));
    static const uint32_t fresh = std::random_device{}();
    all.push_back(fresh);
    return all;
}

} // namespace test
