// SPDX-License-Identifier: Apache-2.0
//
// The file of earlier extractions that the command line's evaluation keeps: what is stored is found
// again, and nothing that is damaged or could not be a template.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tools/qorfp/ToolError.h"
#include "tools/qorfp/eval/TemplateCache.h"

namespace {

using qorfp::cli::Extraction;
using qorfp::cli::ImageOptions;
using qorfp::cli::TemplateCache;

constexpr uintmax_t kRecordBytes = 529;

Extraction MakeExtraction(uint8_t count, uint8_t filler) {
    Extraction extraction;
    extraction.isDone = true;
    extraction.bytes.fill(filler);
    extraction.bytes[0] = '3';
    extraction.bytes[1] = '0';
    extraction.bytes[2] = '1';
    extraction.bytes[3] = count;
    extraction.bytes[369] = 77;
    extraction.quality = 77;
    return extraction;
}

class TemplateCacheTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "/cacheXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
        path_ = folder_ + "/cache";
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void Change(std::streamoff at, char byte) const {
        std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(at);
        file.put(byte);
    }

    std::string folder_;
    std::string path_;
};

TEST_F(TemplateCacheTest, FindsAgainWhatWasStored) {
    {
        TemplateCache cache(path_);
        cache.Store(1, MakeExtraction(60, 5));
        cache.Store(2, Extraction());
        EXPECT_FALSE(cache.Find(3).has_value());
        EXPECT_FALSE(cache.Find(1).has_value()) << "of this run, which finds nothing of its own";
    }
    EXPECT_EQ(std::filesystem::file_size(path_), 2 * kRecordBytes);
    const TemplateCache cache(path_);
    ASSERT_TRUE(cache.Find(1).has_value());
    EXPECT_TRUE(cache.Find(1)->isDone);
    EXPECT_EQ(cache.Find(1)->bytes, MakeExtraction(60, 5).bytes);
    EXPECT_EQ(cache.Find(1)->quality, 77);
    ASSERT_TRUE(cache.Find(2).has_value());
    EXPECT_FALSE(cache.Find(2)->isDone);
    EXPECT_FALSE(cache.Find(3).has_value());
}

TEST_F(TemplateCacheTest, GoesOnBehindTheLastWholeRecord) {
    {
        TemplateCache cache(path_);
        cache.Store(1, MakeExtraction(6, 1));
        cache.Store(2, MakeExtraction(7, 2));
    }
    std::filesystem::resize_file(path_, 2 * kRecordBytes - 1);
    {
        TemplateCache cache(path_);
        EXPECT_TRUE(cache.Find(1).has_value());
        EXPECT_FALSE(cache.Find(2).has_value());
        cache.Store(3, MakeExtraction(8, 3));
    }
    EXPECT_EQ(std::filesystem::file_size(path_), 2 * kRecordBytes);
    const TemplateCache cache(path_);
    EXPECT_TRUE(cache.Find(1).has_value());
    EXPECT_EQ(cache.Find(3)->bytes, MakeExtraction(8, 3).bytes);
}

TEST_F(TemplateCacheTest, UsesNothingFromTheFirstDamagedRecordOn) {
    for (const std::streamoff at : {0, 8, 9, 520, 521, 528}) {
        {
            TemplateCache cache(path_);
            cache.Store(1, MakeExtraction(6, 1));
            cache.Store(2, MakeExtraction(7, 2));
            cache.Store(3, MakeExtraction(8, 3));
        }
        Change(static_cast<std::streamoff>(kRecordBytes) + at, '\x5A');
        const TemplateCache cache(path_);
        EXPECT_TRUE(cache.Find(1).has_value()) << at;
        EXPECT_FALSE(cache.Find(2).has_value()) << at;
        EXPECT_FALSE(cache.Find(3).has_value()) << at;
        std::filesystem::remove(path_);
    }
}

TEST_F(TemplateCacheTest, RefusesWhatIsNoTemplate) {
    Extraction otherVersion = MakeExtraction(6, 1);
    otherVersion.bytes[2] = '2';
    for (const Extraction& bad : {MakeExtraction(61, 1), MakeExtraction(255, 1), otherVersion}) {
        {
            TemplateCache cache(path_);
            cache.Store(1, bad);
        }
        const TemplateCache cache(path_);
        EXPECT_FALSE(cache.Find(1).has_value());
        EXPECT_EQ(std::filesystem::file_size(path_), 0U);
    }
}

TEST_F(TemplateCacheTest, SaysWhyItCannotBeOpened) {
    EXPECT_THROW(TemplateCache{folder_}, qorfp::cli::ToolError);
    EXPECT_THROW(TemplateCache{folder_ + "/absent/cache"}, qorfp::cli::ToolError);
}

TEST(TemplateCacheKey, TellsImagesAndOptionsApart) {
    ImageOptions plain;
    ImageOptions fitted;
    fitted.fit = true;
    ImageOptions resampled;
    resampled.dpi = 500;
    const uint64_t key = TemplateCache::KeyOf({1, 2, 3}, plain);
    EXPECT_EQ(TemplateCache::KeyOf({1, 2, 3}, plain), key);
    EXPECT_NE(TemplateCache::KeyOf({1, 2, 4}, plain), key);
    EXPECT_NE(TemplateCache::KeyOf({1, 2, 3, 0}, plain), key);
    EXPECT_NE(TemplateCache::KeyOf({1, 2, 3}, fitted), key);
    EXPECT_NE(TemplateCache::KeyOf({1, 2, 3}, resampled), key);
}

}  // namespace
