// The cache as an application uses it.

#include <core/OstrevanBlob.h>
#include <core/OstrevanCache.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

using namespace Ostrevan;

TEST(PublicCache, keeps_results_between_runs) {
    char folder[] = "/tmp/ostrevan_public_XXXXXX";
    ASSERT_TRUE(mkdtemp(folder));
    const String key = Blob::getSHA1(String("parameters"));
    for(uint32_t run = 0; run < 3; run++) {
        Cache cache;
        EXPECT_FALSE(cache || cache.isOpened());
        ASSERT_TRUE(run ? cache.open(folder) : cache.open(String(folder), Cache::DefaultSize / 2));
        EXPECT_TRUE(cache.isOpened() && cache.getName() == folder);
        EXPECT_EQ(cache.getMaxSize(), Cache::DefaultSize / (run ? 1 : 2));
        Blob result;
        const bool hit = cache.load(key, result);
        EXPECT_EQ(hit, run == 1);
        if(run == 0) {
            result.puts("result");
            result.seek(0);
            EXPECT_TRUE(cache.save(key, result, true));
            EXPECT_TRUE(cache.getNumEntries() == 1 && cache.getSize() > 6);
        } else if(run == 1) {
            EXPECT_EQ(std::string(reinterpret_cast<const char *>(result.getData()), result.getSize()), "result");
            EXPECT_TRUE(cache.remove(key));
        }
        EXPECT_EQ(cache.getNumHits(), hit ? 1u : 0u);
        EXPECT_EQ(cache.getNumMisses(), hit ? 0u : 1u);
        EXPECT_TRUE(run == 0 || cache.clear());
        cache.close();
        EXPECT_FALSE(cache.isOpened());
    }
    EXPECT_EQ(rmdir(folder), 0);
}
