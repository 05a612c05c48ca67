#include "model/Pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvo {
namespace {

struct Counted {
    static inline int alive = 0;
    explicit Counted(std::string text, bool fail = false) : text(std::move(text)) {
        if (fail) throw std::runtime_error("refused");
        ++alive;
    }
    ~Counted() { --alive; }
    std::string text;
};

TEST(Pool, ObjectsKeepTheirAddressesAndFreedSlotsAreTakenAgain) {
    {
        Pool<Counted> pool;
        std::vector<Pool<Counted>::Ptr> held;
        for (int i = 0; i < 200; ++i) held.push_back(pool.Make("object " + std::to_string(i) + " with a text too long for the string itself"));
        std::vector<const Counted*> addresses;
        for (const auto& object : held) addresses.push_back(object.get());
        EXPECT_EQ(Counted::alive, 200);

        std::vector<const Counted*> freed;
        for (std::size_t i = 0; i < held.size(); i += 3) {
            freed.push_back(held[i].get());
            held[i].reset();
        }
        EXPECT_EQ(Counted::alive, 200 - static_cast<int>(freed.size()));
        for (std::size_t i = 0; i < held.size(); i += 3) held[i] = pool.Make("again");
        for (std::size_t i = 0; i < held.size(); i += 3)
            EXPECT_NE(std::find(freed.begin(), freed.end(), held[i].get()), freed.end()) << i;  // no new block
        for (std::size_t i = 0; i < held.size(); ++i) {
            if (i % 3 == 0) continue;
            EXPECT_EQ(held[i].get(), addresses[i]);
            EXPECT_EQ(held[i]->text, "object " + std::to_string(i) + " with a text too long for the string itself");
        }

        // A constructor that throws gives its slot back.
        const Counted* next = nullptr;
        {
            auto probe = pool.Make("probe");
            next = probe.get();
        }
        EXPECT_THROW(pool.Make("refused", true), std::runtime_error);
        EXPECT_EQ(pool.Make("after").get(), next);
        EXPECT_EQ(Counted::alive, 200);
    }
    EXPECT_EQ(Counted::alive, 0);
}

}  // namespace
}  // namespace kvo
