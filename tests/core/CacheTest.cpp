// The store of results: what goes in comes out, what is damaged does not, and two processes do not disturb each other.

#include "KolmCache.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "KolmFile.h"

using namespace Kolm;

namespace {

// Key of a number: its SHA-1.
String get_key(uint32_t number) { return Blob::getSHA1(String::fromu32(number)); }

// Bytes that tell which number they belong to: a half-written or foreign entry shows.
std::string get_bytes(uint32_t number, size_t size) {
    std::mt19937 random(number);
    std::string bytes(size, '\0');
    for(char &c : bytes) c = char(random());
    return bytes;
}

bool save(Cache &cache, const String &key, const std::string &bytes, bool flush = false) {
    return cache.save(key, reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), flush);
}

std::string load(Cache &cache, const String &key) {
    Blob blob;
    if(!cache.load(key, blob)) return blob.getSize() ? "written on a miss" : "miss";
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

class CacheTest : public testing::Test {
protected:
    CacheTest() {
        char name[] = "/tmp/ostrevan_cache_XXXXXX";
        root = mkdtemp(name);
        folder = root + "/cache";
    }
    ~CacheTest() override { EXPECT_EQ(system(("chmod -R u+w " + root + "; rm -rf " + root).c_str()), 0); }

    std::string get_path(const String &key) const { return folder + "/" + key.get(); }
    std::string read_file(const String &key) const {
        std::string bytes;
        FILE *file = fopen(get_path(key).c_str(), "rb");
        for(int c; file && (c = getc(file)) != EOF;) bytes += char(c);
        if(file) fclose(file);
        return bytes;
    }
    void write_file(const String &key, const std::string &bytes) const {
        FILE *file = fopen(get_path(key).c_str(), "wb");
        fwrite(bytes.data(), 1, bytes.size(), file);
        fclose(file);
    }
    std::vector<std::string> list() const {
        std::vector<std::string> names;
        DIR *dir = opendir(folder.c_str());
        while(const dirent *item = readdir(dir)) {
            if(item->d_name[0] != '.') names.push_back(item->d_name);
        }
        closedir(dir);
        return names;
    }

    std::string root, folder;
    CapturedLog log;
};

} // namespace

TEST_F(CacheTest, gives_what_was_saved_also_to_the_next_process) {
    const String key = get_key(1), other = get_key(2);
    const std::string bytes = get_bytes(1, 200000);
    {
        Cache cache;
        EXPECT_FALSE(cache.isOpened() || save(cache, key, bytes) || cache.clear() || cache.remove(key));
        EXPECT_EQ(load(cache, key), "miss");
        EXPECT_EQ(cache.getNumMisses(), 0u);
        ASSERT_TRUE(cache.open((folder + "/deep/er").c_str())); // folders are made
        ASSERT_TRUE(cache.open(folder.c_str()));
        EXPECT_EQ(load(cache, key), "miss");
        EXPECT_TRUE(save(cache, key, bytes, true));
        EXPECT_TRUE(save(cache, other, "old") && save(cache, other, "new"));
        EXPECT_EQ(load(cache, key), bytes);
        EXPECT_EQ(load(cache, other), "new");
        EXPECT_TRUE(save(cache, other, ""));
        EXPECT_EQ(load(cache, other), "");
        EXPECT_EQ(cache.getNumEntries(), 2u);
        EXPECT_EQ(cache.getSize(), 200000u + 2 * 56);
        EXPECT_EQ(cache.getNumHits(), 3u);
        EXPECT_EQ(cache.getNumMisses(), 1u);
    }
    const ChildProcess child = runChild([&] {
        Cache cache;
        if(!cache.open(folder.c_str()) || load(cache, key) != bytes || load(cache, key.upper()) != bytes) abort();
    });
    EXPECT_TRUE(child.isExited());
    Cache cache;
    ASSERT_TRUE(cache.open(folder.c_str()));
    EXPECT_TRUE(cache.remove(other) && !cache.remove(other));
    EXPECT_EQ(load(cache, other), "miss");
    EXPECT_TRUE(cache.clear(true));
    EXPECT_EQ(load(cache, key), "miss");
    EXPECT_EQ(cache.getNumEntries(), 0u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(CacheTest, streams_of_all_kinds_are_saved_from_their_position) {
    Cache cache;
    ASSERT_TRUE(cache.open(folder.c_str()));
    const std::string bytes = get_bytes(1, 100000);
    Blob blob(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    blob.seek(1000);
    EXPECT_TRUE(cache.save(get_key(1), blob) && !blob.isAvailable());
    EXPECT_EQ(load(cache, get_key(1)), bytes.substr(1000));
    File file;
    ASSERT_TRUE(file.open((root + "/file").c_str(), "w+b"));
    file.write(bytes.data(), bytes.size());
    file.seek(99000);
    EXPECT_TRUE(cache.save(get_key(2), file));
    EXPECT_EQ(load(cache, get_key(2)), bytes.substr(99000));
    blob.seek(2000);
    ASSERT_TRUE(cache.load(get_key(2), blob)); // written at the position
    EXPECT_EQ(memcmp(blob.getData() + 2000, bytes.data() + 99000, 1000), 0);
}

TEST_F(CacheTest, refuses_names_that_are_no_folders_and_keys_that_are_none) {
    Cache cache;
    EXPECT_FALSE(cache.open("/proc/self/no/such"));
    EXPECT_NE(log.take().find("Cache::open(): can't open \"/proc/self/no/such\" folder\n"), std::string::npos);
    EXPECT_FALSE(cache.open("/dev/null"));
    EXPECT_EQ(log.take(), "Cache::open(): can't open \"/dev/null\" folder\nNot a directory\n");
    EXPECT_FALSE(cache.open("") || cache.isOpened());
    log.clear();
    ASSERT_TRUE(cache.open(folder.c_str(), 4000));
    for(const char *key : {"", "abc", "../../../../../../../../../../etc/passwd",
                           "000000000000000000000000000000000000000g", "00000000000000000000000000000000000000000"}) {
        EXPECT_FALSE(save(cache, key, "bytes"));
        EXPECT_EQ(log.take(), std::string("Cache::save(): invalid key \"") + key + "\"\n");
        EXPECT_EQ(load(cache, key), "miss");
        EXPECT_FALSE(cache.remove(key));
        log.clear();
    }
    EXPECT_FALSE(save(cache, get_key(1), get_bytes(1, 1000)));
    EXPECT_EQ(log.take(), "Cache::save(): 1000 B are too many for a limit of 3.91 KB\n");
    EXPECT_TRUE(list().empty());
}

TEST_F(CacheTest, damaged_files_are_misses) {
    Cache cache;
    ASSERT_TRUE(cache.open(folder.c_str()));
    const String key = get_key(1);
    const std::string bytes = get_bytes(1, 100);
    ASSERT_TRUE(save(cache, key, bytes));
    const std::string whole = read_file(key);
    ASSERT_EQ(whole.size(), 156u);
    EXPECT_EQ(whole.substr(0, 8), std::string("cach\1\0\0\0", 8));
    for(size_t size = 0; size < whole.size(); size++) { // every length
        write_file(key, whole.substr(0, size));
        EXPECT_EQ(load(cache, key), "miss");
    }
    for(size_t i = 0; i < whole.size(); i++) { // every byte, one bit and all bits
        for(int mask : {1 << (i % 8), 255}) {
            std::string damaged = whole;
            damaged[i] = char(damaged[i] ^ mask);
            write_file(key, damaged);
            EXPECT_EQ(load(cache, key), "miss");
        }
    }
    for(const std::string &tail : {std::string("x"), whole}) {
        write_file(key, whole + tail);
        EXPECT_EQ(load(cache, key), "miss");
    }
    ASSERT_TRUE(save(cache, get_key(2), bytes)); // a whole entry under the wrong name
    rename(get_path(get_key(2)).c_str(), get_path(key).c_str());
    EXPECT_EQ(load(cache, key), "miss");
    log.clear();
    std::string version = whole; // of another version: not worth a line
    version[4] = 2;
    write_file(key, version);
    EXPECT_EQ(load(cache, key), "miss");
    EXPECT_EQ(log.take(), "");
    write_file(key, "");
    ASSERT_EQ(truncate(get_path(key).c_str(), 1ll << 40), 0); // a large hole
    EXPECT_EQ(load(cache, key), "miss");
    EXPECT_EQ(log.take(), std::string("Cache::load(): \"") + key.get() + "\" entry is damaged\n");
    const auto replace = [&](auto make) {
        unlink(get_path(key).c_str());
        make();
        EXPECT_EQ(load(cache, key), "miss");
    };
    replace([&] { mkfifo(get_path(key).c_str(), 0600); }); // nothing waits
    replace([&] { EXPECT_EQ(symlink("/dev/zero", get_path(key).c_str()), 0); });
    EXPECT_TRUE(save(cache, key, bytes)); // puts all of it right
    EXPECT_EQ(load(cache, key), bytes);
    unlink(get_path(key).c_str());
    mkdir(get_path(key).c_str(), 0700);
    EXPECT_EQ(load(cache, key), "miss");
    EXPECT_FALSE(save(cache, key, bytes));
    EXPECT_EQ(list().size(), 1u); // no unfinished file stays
}

TEST_F(CacheTest, removes_what_was_not_used_for_the_longest_time) {
    Cache cache;
    const uint64_t limit = 100000;
    ASSERT_TRUE(cache.open(folder.c_str(), limit));
    std::map<uint32_t, uint64_t> used; // an entry's last use
    uint64_t time = 0;
    std::mt19937 random(1);
    for(uint32_t i = 0; i < 400; i++) {
        ASSERT_TRUE(save(cache, get_key(i), get_bytes(i, 500 + random() % 1000)));
        used[i] = ++time;
        ASSERT_LE(cache.getSize(), limit);
        for(uint32_t j = 0; j < 3; j++) {
            const uint32_t k = random() % (i + 1);
            if(load(cache, get_key(k)) != "miss") used[k] = ++time;
        }
    }
    // those that are there were used later than all that are not
    uint64_t oldest = ~0ull, youngest_removed = 0;
    for(const auto &[number, last] : used) {
        if(access(get_path(get_key(number)).c_str(), F_OK) == 0)
            oldest = std::min(oldest, last);
        else
            youngest_removed = std::max(youngest_removed, last);
    }
    EXPECT_GT(oldest, youngest_removed);
    EXPECT_GT(cache.getSize(), limit / 2);
    EXPECT_GT(youngest_removed, 0u);

    // what a killed process left behind goes, what is being written and what is not ours stays
    for(const char *name : {"part-old", "part-new", "README"}) {
        const std::string path = folder + "/" + name;
        close(open(path.c_str(), O_CREAT | O_WRONLY, 0600));
        const timespec times[2] = {{1000, 0}, {1000, 0}};
        if(strcmp(name, "part-new")) utimensat(AT_FDCWD, path.c_str(), times, 0);
    }
    ASSERT_TRUE(cache.open(folder.c_str(), limit));
    EXPECT_NE(access((folder + "/part-old").c_str(), F_OK), 0);
    EXPECT_EQ(access((folder + "/part-new").c_str(), F_OK), 0);
    EXPECT_TRUE(cache.clear());
    EXPECT_EQ(access((folder + "/README").c_str(), F_OK), 0);
    EXPECT_EQ(cache.getSize(), 0u);
}

// Each process loads, saves, removes and damages; whatever comes out of a load is whole and of its key.
TEST_F(CacheTest, serves_many_processes_and_threads_at_once) {
    const uint64_t limit = 400000;
    const auto work = [&](uint32_t seed, uint32_t num) {
        Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
        Cache cache;
        if(!cache.open(folder.c_str(), limit)) abort();
        std::mt19937 random(seed);
        for(uint32_t i = 0; i < num; i++) {
            const uint32_t number = random() % 40;
            const size_t size = 1000 + number * 700;
            const std::string bytes = load(cache, get_key(number));
            if(bytes != "miss" && bytes != get_bytes(number, size)) abort();
            const uint32_t action = random() % 100;
            if(bytes == "miss" || action < 10) {
                if(!save(cache, get_key(number), get_bytes(number, size))) abort();
            } else if(action < 15) {
                cache.remove(get_key(number));
            } else if(action < 20) {
                const int file = open(get_path(get_key(number)).c_str(), O_WRONLY);
                if(file >= 0 && pwrite(file, "damage", 6, long(random() % size)) < 0) abort();
                if(file >= 0) close(file);
            }
        }
        if(cache.getNumHits() < num / 10) abort();
    };
    std::vector<pid_t> children;
    for(uint32_t i = 0; i < 4; i++) {
        const pid_t pid = fork();
        if(pid == 0) {
            work(i, 1500);
            _exit(0);
        }
        children.push_back(pid);
    }
    for(const pid_t pid : children) {
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    Cache cache;
    ASSERT_TRUE(cache.open(folder.c_str(), limit));
    EXPECT_LE(cache.getSize(), limit + limit / 4);                     // each of four may be unaware of a sixteenth
    for(const std::string &name : list()) EXPECT_EQ(name.size(), 40u); // no unfinished file

    std::vector<std::thread> threads; // the same through one object
    std::atomic<uint32_t> faults{0};
    for(uint32_t t = 0; t < 4; t++) {
        threads.emplace_back([&, t] {
            std::mt19937 random(100 + t);
            for(uint32_t i = 0; i < 300; i++) {
                const uint32_t number = 1000 + random() % 40;
                const std::string bytes = load(cache, get_key(number));
                if(bytes != "miss" && bytes != get_bytes(number, 5000)) faults++;
                if(bytes == "miss" && !save(cache, get_key(number), get_bytes(number, 5000))) faults++;
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(faults, 0u);
    EXPECT_EQ(cache.getNumHits() + cache.getNumMisses(), 1200u);
}

TEST_F(CacheTest, folders_that_take_no_more_still_give) {
    {
        Cache cache;
        ASSERT_TRUE(cache.open(folder.c_str()) && save(cache, get_key(1), "bytes"));
    }
    const ChildProcess full = runChild([&] {
        // every write beyond 64 bytes fails, as on a full disk
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {64, 64};
        setrlimit(RLIMIT_FSIZE, &limit);
        Cache cache;
        std::string text;
        Log::setCallback(
            [](Log::Level, size_t, const char *line, void *data) {
                *static_cast<std::string *>(data) += line;
                return true;
            },
            &text);
        if(!cache.open(folder.c_str()) || save(cache, get_key(2), get_bytes(2, 1000))) abort();
        if(save(cache, get_key(1), get_bytes(1, 1000)) || load(cache, get_key(1)) != "bytes") abort();
        if(text.find("Cache::save(): can't write to \"" + folder + "\" folder\nFile too large\n") != 0) abort();
    });
    EXPECT_TRUE(full.isExited()) << full.err;
    EXPECT_EQ(list().size(), 1u);

    chmod(root.c_str(), 0755);
    chmod(folder.c_str(), 0555);
    const ChildProcess readonly = runChild([&] {
        if(geteuid() == 0 && seteuid(65534)) abort();
        int lines = 0;
        Log::setCallback(
            [](Log::Level, size_t, const char *, void *data) {
                ++*static_cast<int *>(data);
                return true;
            },
            &lines);
        Cache cache;
        if(!cache.open(folder.c_str()) || load(cache, get_key(1)) != "bytes") abort();
        for(uint32_t i = 0; i < 3; i++) {
            if(save(cache, get_key(2), "bytes")) abort();
        }
        if(lines != 1 || load(cache, get_key(1)) != "bytes" || cache.clear()) abort();
    });
    EXPECT_TRUE(readonly.isExited()) << readonly.err;
}
