// Strings beside std::string, numbers beside <charconv>, formatting beside snprintf.

#include "Compare.h"
#include "KolmParser.h"

#include <charconv>
#include <random>
#include <string>

using Kolm::Parser;
using Kolm::String;
using Kolm::StringStack;

static constexpr uint32_t num_values = 10000;

static void append_chars(benchmark::State &state) {
    const auto work = [](auto &str, auto append) {
        for(uint32_t i = 0; i < 100000; i++) append(str, char('a' + i % 26));
        benchmark::DoNotOptimize(str.size());
    };
    compare(
        state,
        [&] {
            String str;
            work(str, [](String &s, char c) { s.append(c); });
        },
        [&] {
            std::string str;
            work(str, [](std::string &s, char c) { s.push_back(c); });
        },
        100000.0);
}

static void append_words(benchmark::State &state) {
    compare(
        state,
        [] {
            String str;
            for(uint32_t i = 0; i < num_values; i++) str.append("vec4 ", 5).append("position", 8).append(";\n");
            benchmark::DoNotOptimize(str.get());
        },
        [] {
            std::string str;
            for(uint32_t i = 0; i < num_values; i++) str.append("vec4 ", 5).append("position", 8).append(";\n");
            benchmark::DoNotOptimize(str.data());
        },
        15.0 * num_values);
}

static void short_texts(benchmark::State &state) {
    // Made, compared and thrown away on the stack.
    uint32_t sum = 0;
    compare(
        state,
        [&] {
            for(uint32_t i = 0; i < num_values; i++) {
                StringStack<64> str("gl_Position");
                str.append('0' + char(i % 10));
                sum += (str == "gl_Position7");
            }
            benchmark::DoNotOptimize(sum);
        },
        [&] {
            for(uint32_t i = 0; i < num_values; i++) {
                std::string str("gl_Position");
                str.push_back('0' + char(i % 10));
                sum += (str == "gl_Position7");
            }
            benchmark::DoNotOptimize(sum);
        });
}

static std::string make_text() {
    std::mt19937 random(1);
    std::string text;
    while(text.size() < 1000000) text += "uniform sampler2D texture; "[random() % 27];
    return text + "needle";
}

static void find_char(benchmark::State &state) {
    const std::string text = make_text();
    const String str(text.c_str());
    compare(
        state, [&] { benchmark::DoNotOptimize(str.find('#')); }, [&] { benchmark::DoNotOptimize(text.find('#')); },
        double(text.size()));
}

static void find_text(benchmark::State &state) {
    const std::string text = make_text();
    const String str(text.c_str());
    compare(
        state, [&] { benchmark::DoNotOptimize(str.find("needle")); },
        [&] { benchmark::DoNotOptimize(text.find("needle")); }, double(text.size()));
}

static void compare_texts(benchmark::State &state) {
    const std::string t0 = make_text(), t1 = make_text();
    const String s0(t0.c_str()), s1(t1.c_str());
    compare(
        state, [&] { benchmark::DoNotOptimize(s0 == s1); }, [&] { benchmark::DoNotOptimize(t0 == t1); },
        double(t0.size()));
}

// The same values for both, with `ours` appending to a string and `peer` writing into a buffer.
template<class Type, class Ours, class Peer>
static void print_values(benchmark::State &state, const std::vector<Type> &values, Ours ours, Peer peer) {
    compare(
        state,
        [&] {
            StringStack<512> str;
            for(const Type value : values) {
                str.clear();
                ours(str, value);
                benchmark::DoNotOptimize(str.get());
            }
        },
        [&] {
            char text[512];
            for(const Type value : values) {
                *peer(text, text + sizeof(text), value) = '\0';
                benchmark::DoNotOptimize(text);
            }
        });
}

static std::vector<uint64_t> make_integers() {
    std::mt19937_64 random(2);
    std::vector<uint64_t> values(num_values);
    for(uint64_t &value : values) value = random() >> (random() % 64);
    return values;
}

static std::vector<double> make_floats() {
    std::mt19937_64 random(3);
    std::vector<double> values(num_values);
    for(double &value : values) value = double(random() >> 11) / 9007199254740992.0 * 20000.0 - 10000.0;
    return values;
}

static void fromu32(benchmark::State &state) {
    std::vector<uint32_t> values;
    for(const uint64_t value : make_integers()) values.push_back(uint32_t(value));
    print_values(
        state, values, [](String &str, uint32_t v) { String::fromu32(str, v); },
        [](char *a, char *b, uint32_t v) { return std::to_chars(a, b, v).ptr; });
}

static void fromu64(benchmark::State &state) {
    print_values(
        state, make_integers(), [](String &str, uint64_t v) { String::fromu64(str, v); },
        [](char *a, char *b, uint64_t v) { return std::to_chars(a, b, v).ptr; });
}

static void fromf64(benchmark::State &state) {
    print_values(
        state, make_floats(), [](String &str, double v) { String::fromf64(str, v, 6, false); },
        [](char *a, char *b, double v) { return std::to_chars(a, b, v, std::chars_format::fixed, 6).ptr; });
}

static void tou32(benchmark::State &state) {
    std::vector<std::string> texts;
    for(const uint64_t value : make_integers()) texts.push_back(std::to_string(uint32_t(value)));
    uint32_t sum = 0;
    compare(
        state,
        [&] {
            for(const std::string &text : texts) sum += String::tou32(text.c_str());
            benchmark::DoNotOptimize(sum);
        },
        [&] {
            for(const std::string &text : texts) {
                uint32_t value = 0;
                std::from_chars(text.data(), text.data() + text.size(), value);
                sum += value;
            }
            benchmark::DoNotOptimize(sum);
        });
}

static void read_floats(benchmark::State &state, const std::vector<std::string> &texts) {
    double sum = 0.0;
    compare(
        state,
        [&] {
            for(const std::string &text : texts) sum += String::tof64(text.c_str());
            benchmark::DoNotOptimize(sum);
        },
        [&] {
            for(const std::string &text : texts) {
                double value = 0.0;
                std::from_chars(text.data(), text.data() + text.size(), value);
                sum += value;
            }
            benchmark::DoNotOptimize(sum);
        });
}

static void tof64_short(benchmark::State &state) {
    std::vector<std::string> texts;
    for(const double value : make_floats()) texts.push_back(String::fromf64(value, 4).get());
    read_floats(state, texts);
}

static void tof64_exact(benchmark::State &state) {
    std::vector<std::string> texts;
    for(const double value : make_floats()) {
        String str;
        texts.push_back(String::fromf64s(str, value).get());
    }
    read_floats(state, texts);
}

static void format(benchmark::State &state) {
    compare(
        state,
        [] {
            StringStack<256> str;
            for(uint32_t i = 0; i < num_values; i++) {
                str.printf("%s: %u of %d, %.3f\n", "Compiler::compile()", i, -12, i * 0.25);
                benchmark::DoNotOptimize(str.get());
            }
        },
        [] {
            char text[256];
            for(uint32_t i = 0; i < num_values; i++) {
                snprintf(text, sizeof(text), "%s: %u of %d, %.3f\n", "Compiler::compile()", i, -12, i * 0.25);
                benchmark::DoNotOptimize(text);
            }
        });
}

static void scan_names(benchmark::State &state) {
    std::string text;
    for(uint32_t i = 0; i < num_values; i++) text += "  layout location_" + std::to_string(i);
    measure(state, "MB/s", double(text.size()) * 1e-6, [&] {
        StringStack<64> name;
        for(const char *s = text.c_str(); *s;) s += Parser::readName(s, name);
        benchmark::DoNotOptimize(name.get());
    });
}

#define BENCH(NAME) BENCHMARK(NAME)->UseManualTime()->MinTime(0.2)
BENCH(append_chars);
BENCH(append_words);
BENCH(short_texts);
BENCH(find_char);
BENCH(find_text);
BENCH(compare_texts);
BENCH(fromu32);
BENCH(fromu64);
BENCH(fromf64);
BENCH(tou32);
BENCH(tof64_short);
BENCH(tof64_exact);
BENCH(format);
BENCH(scan_names);
