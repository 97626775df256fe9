#include <OstrevanApp.h>
#include <core/OstrevanLog.h>
#include <gtest/gtest.h>
#include <time.h>
#include <vector>

#include "ChildProcess.h"

using namespace Ostrevan;

namespace {

// The application's command line from words; a "null" stands for a null pointer.
struct Words {
    explicit Words(std::initializer_list<const char *> list) {
        for(const char *word : list) argv.push_back(strcmp(word, "null") ? const_cast<char *>(word) : nullptr);
        argv.push_back(nullptr);
    }
    int argc() const { return int(argv.size()) - 1; }
    std::vector<char *> argv;
};

std::string log_line;
bool append_line(Log::Level, size_t, const char *text, void *) {
    log_line += text;
    return true;
}

std::string arguments_of(const App &app) {
    std::string ret;
    for(const String &argument : app.getArguments()) ret += std::string(argument.get()) + " ";
    return ret;
}

class AppTest : public testing::Test {
protected:
    AppTest() {
        log_line.clear();
        Log::setCallback(append_line);
    }
    ~AppTest() override { Log::setCallback(nullptr); }
};

} // namespace

TEST_F(AppTest, reads_options) {
    static const struct {
        const char *name;
        Words words;
        uint32_t width, height, device, multisample;
        Platform platform;
        const char *arguments;
        const char *log;
    } rows[] = {
        {"nothing", Words({}), 1600, 900, ~0u, 0, PlatformAny, "", ""},
        {"program", Words({"p"}), 1600, 900, ~0u, 0, PlatformAny, "", ""},
        {"all kinds", Words({"p", "--width", "100", "-h", "50", "--mode", "4K", "foo", "--bar", "1"}), 3840, 2160, ~0u,
         0, PlatformAny, "foo --bar 1 ", ""},
        {"dashes", Words({"p", "---w", "10", "--h", "20", "-ms", "4", "-device", "2", "--vk"}), 10, 20, 2, 4,
         PlatformVK, "", ""},
        {"prefix", Words({"p", "-w", "0x64"}), 100, 900, ~0u, 0, PlatformAny, "", ""},
        {"no number", Words({"p", "-w", "abc", "-h", "-5"}), 0, 0, ~0u, 0, PlatformAny, "", ""},
        {"last word", Words({"p", "-w"}), 1600, 900, ~0u, 0, PlatformAny, "-w ", ""},
        {"null value", Words({"p", "-w", "null", "x"}), 1600, 900, ~0u, 0, PlatformAny, "-w x ", ""},
        {"case", Words({"p", "-W", "5", "-VK"}), 1600, 900, ~0u, 0, PlatformAny, "-W 5 -VK ", ""},
        {"mode", Words({"p", "-m", "Hd+", "-gl", "--gles", "-cu"}), 1600, 900, ~0u, 0, PlatformCU, "", ""},
        {"bad mode", Words({"p", "-m", "9k", "-x"}), 1600, 900, ~0u, 0, PlatformAny, "-x ",
         "App::init(): unknown mode 9k\n"},
        {"first is an option", Words({"-w", "7", "-", "--"}), 7, 900, ~0u, 0, PlatformAny, "- -- ", ""},
    };
    for(const auto &row : rows) {
        log_line.clear();
        App app(row.words.argc(), const_cast<char **>(row.words.argv.data()));
        EXPECT_EQ(app.getWidth(), row.width) << row.name;
        EXPECT_EQ(app.getHeight(), row.height) << row.name;
        EXPECT_EQ(app.getDevice(), row.device) << row.name;
        EXPECT_EQ(app.getMultisample(), row.multisample) << row.name;
        EXPECT_EQ(app.getPlatform(), row.platform) << row.name;
        EXPECT_EQ(arguments_of(app), row.arguments) << row.name;
        EXPECT_EQ(log_line, row.log) << row.name;
    }
    App none(3, nullptr);
    EXPECT_EQ(none.getNumArguments(), 0u);
}

TEST_F(AppTest, knows_the_modes) {
    static const struct {
        const char *name;
        uint32_t width, height;
    } rows[] = {{"8k", 7680, 4320}, {"6k", 6144, 3456},   {"5k", 5120, 2880},  {"3k", 2880, 1620}, {"w2k", 3440, 1440},
                {"2k", 2560, 1440}, {"WFHD", 2560, 1080}, {"fhd", 1920, 1080}, {"hd", 1280, 720}};
    for(const auto &row : rows) {
        const Words words({"p", "-m", row.name});
        const App app(words.argc(), const_cast<char **>(words.argv.data()));
        EXPECT_EQ(app.getWidth(), row.width) << row.name;
        EXPECT_EQ(app.getHeight(), row.height) << row.name;
    }
}

TEST_F(AppTest, finds_arguments_by_name) {
    const Words words({"p", "foo", "--bar", "1", "-bar", "2", "-end"});
    App app(words.argc(), const_cast<char **>(words.argv.data()));
    EXPECT_EQ(app.getNumArguments(), 6u);
    EXPECT_STREQ(app.getArgument(0).get(), "foo");
    EXPECT_TRUE(app.isArgument("bar") && app.isArgument("end"));
    EXPECT_FALSE(app.isArgument("foo") || app.isArgument("1") || app.isArgument(nullptr));
    EXPECT_STREQ(app.getArgument("bar").get(), "1");
    EXPECT_FALSE(app.getArgument("end") || app.getArgument("none") ||
                 app.getArgument(static_cast<const char *>(nullptr)));
    EXPECT_ASSERTION(app.getArgument(6u), "index < impl.length && \"Array::operator[](): invalid index\"");
    app.clear();
    EXPECT_EQ(app.getNumArguments(), 0u);
}

TEST_F(AppTest, create_compares_versions) {
    App app(0, nullptr);
    EXPECT_FALSE(app.create(PlatformVK, 1));
    EXPECT_EQ(log_line, "App::create(): invalid version 1\n");
    EXPECT_EQ(app.getPlatform(), PlatformAny);
    EXPECT_TRUE(app.create());
    EXPECT_EQ(app.getPlatform(), PlatformAny);
    EXPECT_TRUE(app.create(PlatformD3D12, App::getVersion()));
    EXPECT_TRUE(app.create(PlatformVK));
    EXPECT_EQ(app.getPlatform(), PlatformVK);
    EXPECT_EQ(log_line, "App::create(): invalid version 1\n");
}

TEST_F(AppTest, starts_from_changed_defaults) {
    App::setPlatform(PlatformVK, 3);
    App::setSize(640, 480, 8);
    const App app(0, nullptr);
    EXPECT_TRUE(app.getPlatform() == PlatformVK && app.getDevice() == 3);
    EXPECT_TRUE(app.getWidth() == 640 && app.getHeight() == 480 && app.getMultisample() == 8);
    App::setPlatform(PlatformAny);
    App::setSize(1600, 900);
    EXPECT_EQ(App(0, nullptr).getDevice(), ~0u);
}

TEST_F(AppTest, tells_how_it_was_built) {
    EXPECT_EQ(App::getVersion(), 20240515u);
    EXPECT_EQ(App::getAPIHash(), 0u);
    EXPECT_TRUE(App::isBuildDebug() && !App::isBuildFloat64());
    EXPECT_STREQ(App::getBuildInfo().get(),
                 "version=20240515; linux; arm64; debug; release; vk=1; gl=45; gles=32; cu=1");
    tm date = {};
    const String text = App::getBuildDate();
    EXPECT_EQ(text.size(), 11u);
    EXPECT_NE(strptime(text.get(), "%b %d %Y", &date), nullptr) << text.get();
}
