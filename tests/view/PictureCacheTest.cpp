#include "view/PictureCache.h"

#include <gtest/gtest.h>

#include <QtGui/QPainter>

#include <filesystem>

#include "TestSupport.h"

namespace kvo {
namespace {

constexpr QSize kShown(100, 100);
constexpr std::size_t kDecodedBytes = 1000;
constexpr std::size_t kEntryBytes = kDecodedBytes + 100 * 100 * 4;

class PictureCacheTest : public ::testing::Test {
protected:
    std::shared_ptr<DecodedMetafile> Decode() {
        ++decodes_;
        auto decoded = std::make_shared<DecodedMetafile>();
        QPainter painter(&decoded->recording);
        painter.fillRect(0, 0, 10, 10, Qt::red);
        painter.end();
        decoded->recordedSize = QSize(10, 10);
        decoded->bytes = kDecodedBytes;
        return decoded;
    }

    // Shows the picture of this file as a slide change would: decoded, then drawn.
    QImage Show(const std::string& name) {
        const std::string file = dir_.File(name);
        if (!std::filesystem::exists(file)) test::WriteFile(file, name);
        return cache_.Raster(cache_.Decoded(file, [this] { return Decode(); }), kShown);
    }

    test::TempDir dir_;
    PictureCache cache_{3 * kEntryBytes};
    int decodes_ = 0;
};

TEST_F(PictureCacheTest, ShowsAgainWithoutDecodingOrDrawingAndDropsTheLeastRecentlyShown) {
    const QImage first = Show("a.wmf");
    EXPECT_EQ(first.pixelColor(50, 50), QColor(Qt::red));
    Show("b.wmf");
    Show("c.wmf");
    EXPECT_EQ(Show("a.wmf").cacheKey(), first.cacheKey());
    EXPECT_EQ(decodes_, 3);

    Show("d.wmf");  // over the budget: b was shown longest ago
    EXPECT_LE(cache_.Bytes(), 3 * kEntryBytes);
    Show("a.wmf");
    EXPECT_EQ(decodes_, 4);
    Show("b.wmf");
    EXPECT_EQ(decodes_, 5);

    // A picture changed on disk is another picture.
    test::WriteFile(dir_.File("a.wmf"), "changed, and longer");
    Show("a.wmf");
    EXPECT_EQ(decodes_, 6);

    cache_.SetBudget(kEntryBytes / 2);
    EXPECT_EQ(cache_.Bytes(), 0u);
}

}  // namespace
}  // namespace kvo
