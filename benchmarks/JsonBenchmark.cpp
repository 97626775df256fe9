// Documents of JSON beside RapidJSON, which parses in situ, and beside nlohmann's tree.
//
// Each call takes a text, makes a tree of it and lets go of both. The documents are made here: messages with many kinds of
// values and escapes, a catalogue with deep indentation, coordinates with all their digits.

#include "Compare.h"
#include "KolmAllocator.h"
#include "KolmBlob.h"
#include "KolmJson.h"

#include <malloc.h>
#include <random>
#include <string>

#if defined(OSTREVAN_RAPIDJSON)
#if defined(__SSE2__)
#define RAPIDJSON_SSE2 // what every processor of this kind has, as in the library
#elif defined(__ARM_NEON)
#define RAPIDJSON_NEON
#endif
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#if defined(OSTREVAN_NLOHMANN)
#include <nlohmann/json.hpp>
#endif

using Kolm::Allocator;
using Kolm::Blob;
using Kolm::Json;

// -- Documents --

static std::string make_words(std::mt19937 &random, uint32_t num) {
    static const char *words[] = {"shader",
                                  "the",
                                  "a",
                                  "texture",
                                  "buffer",
                                  "with",
                                  "https:\\/\\/example.org\\/x",
                                  "and",
                                  "light",
                                  "\\n",
                                  "of",
                                  "\\u5149\\u7dda",
                                  "\xC3\xA9t\xC3\xA9",
                                  "window"};
    std::string text;
    for(uint32_t i = 0; i < num; i++) text += std::string(i ? " " : "") + words[random() % std::size(words)];
    return text;
}

// Messages of users: objects of many short members, texts with escapes, small numbers, words, nested objects.
static std::string make_text() {
    std::mt19937 random(1);
    std::string text = "{\n  \"messages\": [";
    for(uint32_t i = 0; i < 400; i++) {
        const std::string id = std::to_string(500000000000000000ull + random());
        text += i ? ",\n    {" : "\n    {";
        text += "\n      \"metadata\": {\n        \"result_type\": \"recent\",\n        \"language\": \"en\"\n      },";
        text += "\n      \"created_at\": \"Sun Aug 31 00:29:15 +0000 2014\",\n      \"id\": " + id +
                ",\n      \"id_text\": \"" + id + "\",";
        text += "\n      \"text\": \"" + make_words(random, 12) +
                "\",\n      \"truncated\": false,\n      \"reply_to\": null,";
        text += "\n      \"user\": {\n        \"id\": " + std::to_string(random()) + ",\n        \"name\": \"" +
                make_words(random, 2);
        text += "\",\n        \"description\": \"" + make_words(random, 20) +
                "\",\n        \"followers_count\": " + std::to_string(random() % 5000);
        text += ",\n        \"protected\": false,\n        \"profile_image_url\": \"http:\\/\\/images.example.org\\/" +
                id + "\\/normal.jpeg\"";
        text += ",\n        \"time_zone\": null,\n        \"verified\": true\n      },\n      \"entities\": {\n        "
                "\"tags\": [],\n        \"indices\": [\n          ";
        text +=
            std::to_string(random() % 140) + ",\n          " + std::to_string(random() % 140) + "\n        ]\n      },";
        text += "\n      \"retweet_count\": " + std::to_string(random() % 100) + ",\n      \"favorited\": false\n    }";
    }
    return text + "\n  ]\n}\n";
}

// A catalogue: deep indentation, long lists of short objects, integers as names.
static std::string make_catalog() {
    std::mt19937 random(2);
    std::string text = "{\n    \"areaNames\": {";
    for(uint32_t i = 0; i < 500; i++)
        text += (i ? ",\n        \"" : "\n        \"") + std::to_string(205705993 + i) + "\": \"Balcon " +
                std::to_string(i) + "\"";
    text += "\n    },\n    \"performances\": [";
    for(uint32_t i = 0; i < 250; i++) {
        text += i ? ",\n        {" : "\n        {";
        text += "\n            \"eventId\": " + std::to_string(random() % 1000000000) +
                ",\n            \"id\": " + std::to_string(random() % 1000000000);
        text += ",\n            \"logo\": null,\n            \"name\": null,\n            \"prices\": [";
        for(uint32_t j = 0; j < 4; j++) {
            text += std::string(j ? "," : "") +
                    "\n                {\n                    \"amount\": " + std::to_string(random() % 100000);
            text += ",\n                    \"audienceSubCategoryId\": 337100890,\n                    "
                    "\"seatCategoryId\": " +
                    std::to_string(338937295 + j) + "\n                }";
        }
        text += "\n            ],\n            \"seatCategories\": [";
        for(uint32_t j = 0; j < 4; j++) {
            text += std::string(j ? "," : "") + "\n                {\n                    \"areas\": [";
            for(uint32_t k = 0; k < 6; k++) {
                text += std::string(k ? "," : "") +
                        "\n                        {\n                            \"areaId\": " +
                        std::to_string(205705999 + random() % 50);
                text += ",\n                            \"blockIds\": []\n                        }";
            }
            text +=
                "\n                    ],\n                    \"seatCategoryId\": " + std::to_string(338937295 + j) +
                "\n                }";
        }
        text += "\n            ],\n            \"start\": 1372701600000,\n            \"venueCode\": "
                "\"PLEYEL_PLEYEL\"\n        }";
    }
    return text + "\n    ]\n}\n";
}

// Outlines on a map.
static std::string make_numbers() {
    std::mt19937_64 random(3);
    std::string text = "{\"type\":\"FeatureCollection\",\"features\":[{\"type\":\"Feature\",\"geometry\":{\"type\":"
                       "\"Polygon\",\"coordinates\":[";
    for(uint32_t i = 0; i < 400; i++) {
        text += i ? ",[" : "[";
        for(uint32_t j = 0; j < 130; j++) {
            char pair[64];
            const double x = -65.0 - double(random() >> 11) / 9007199254740992.0,
                         y = 43.0 + double(random() >> 11) / 9007199254740992.0;
            snprintf(pair, sizeof(pair), "%s[%.15f,%.15f]", j ? "," : "", x, y);
            text += pair;
        }
        text += "]";
    }
    return text + "]}}]}";
}

static const std::string &get_text(uint32_t index) {
    static const std::string texts[] = {make_text(), make_catalog(), make_numbers()};
    return texts[index];
}

// -- Work --

static void parse_ours(const std::string &text) {
    Json json;
    if(!json.create(text.data(), text.size())) abort();
    benchmark::DoNotOptimize(json.getNumChildren());
}

#if defined(OSTREVAN_RAPIDJSON)

static void parse(benchmark::State &state, uint32_t index) {
    const std::string &text = get_text(index);
    compare(
        state, [&] { parse_ours(text); },
        [&] {
            char *buffer = static_cast<char *>(malloc(text.size() + 1));
            memcpy(buffer, text.c_str(), text.size() + 1);
            {
                rapidjson::Document document;
                document.ParseInsitu(buffer);
                if(document.HasParseError()) abort();
                benchmark::DoNotOptimize(document.MemberCount());
            }
            free(buffer);
        },
        double(text.size()));
    // Memory beside the text that the caller has.
    const size_t memory = Allocator::getMemory();
    Json json;
    json.create(text.data(), text.size());
    state.counters["memory/text"] = double(Allocator::getMemory() - memory) / double(text.size());
}

static void save(benchmark::State &state, uint32_t index) {
    const std::string &text = get_text(index);
    Json json;
    json.create(text.data(), text.size());
    rapidjson::Document document;
    document.Parse(text.c_str());
    Blob blob;
    rapidjson::StringBuffer buffer;
    compare(
        state,
        [&] {
            blob.clear();
            if(!json.save(blob, true)) abort();
            benchmark::DoNotOptimize(blob.getData());
        },
        [&] {
            buffer.Clear();
            rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
            document.Accept(writer);
            benchmark::DoNotOptimize(buffer.GetString());
        },
        double(blob.getSize()));
}

static void parse_text(benchmark::State &state) { parse(state, 0); }
static void parse_catalog(benchmark::State &state) { parse(state, 1); }
static void parse_numbers(benchmark::State &state) { parse(state, 2); }
static void save_text(benchmark::State &state) { save(state, 0); }
static void save_numbers(benchmark::State &state) { save(state, 2); }

#define BENCH(NAME) BENCHMARK(NAME)->UseManualTime()->MinTime(0.2)
BENCH(parse_text);
BENCH(parse_catalog);
BENCH(parse_numbers);
BENCH(save_text);
BENCH(save_numbers);

#endif

#if defined(OSTREVAN_NLOHMANN)

static void parse_nlohmann(benchmark::State &state, uint32_t index) {
    const std::string &text = get_text(index);
    compare(
        state, [&] { parse_ours(text); }, [&] { benchmark::DoNotOptimize(nlohmann::json::parse(text).size()); },
        double(text.size()));
}

static void parse_text_nlohmann(benchmark::State &state) { parse_nlohmann(state, 0); }
static void parse_catalog_nlohmann(benchmark::State &state) { parse_nlohmann(state, 1); }
static void parse_numbers_nlohmann(benchmark::State &state) { parse_nlohmann(state, 2); }

#define BENCH_NLOHMANN(NAME) BENCHMARK(NAME)->UseManualTime()->MinTime(0.2)
BENCH_NLOHMANN(parse_text_nlohmann);
BENCH_NLOHMANN(parse_catalog_nlohmann);
BENCH_NLOHMANN(parse_numbers_nlohmann);

#endif
