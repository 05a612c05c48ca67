// Every test starts in English with the shipped string tables loaded, whatever
// language the test before it switched to, and before its fixture is made.
#include <gtest/gtest.h>

#include "services/Language.h"

namespace {

class EnglishAtEveryStart final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override {
        kvo::SetLanguage(1033);
        kvo::InitResources();
    }
};

const bool registered = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new EnglishAtEveryStart);
    return true;
}();

}  // namespace
