// Much work of all kinds, again and again: all memory comes back.

#include <Ostrevan.h>

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

using namespace Ostrevan;

static const char *const source = R"(
    layout(local_size_x = 8, local_size_y = 8) in;
    layout(std140, binding = 0) uniform Parameters { uvec2 size; };
    layout(std430, binding = 1) buffer Output { uint pixels[]; };
    struct Color { float r; float g; };
    Color get_color(vec2 p) { return Color(p.x, p.y); }
    void main() {
        uvec2 id = gl_GlobalInvocationID.xy;
        if(id.x >= size.x || id.y >= size.y) return;
        Color color = get_color(vec2(id) / vec2(size));
        pixels[id.y * size.x + id.x] = packUnorm4x8(vec4(color.r, color.g, SHADE, 1.0));
    })";

static void make_picture(bool fail) {
    Context context(PlatformVK);
    ASSERT_TRUE(context.create());
    Device device(context);
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(1).setStorageOffset(1);
    ASSERT_EQ(kernel.createShaderGLSL(source, "SHADE=%s", fail ? "nothing" : "0.5"), !fail);
    if(fail) return;
    ASSERT_TRUE(kernel.create());
    const uint32_t size[] = {61, 33};
    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size[0] * size[1] * 4);
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        compute.setUniform(0, size);
        compute.setStorageBuffer(0, pixels);
        compute.dispatch(size[0], size[1]);
    }
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, size[0], size[1]));
    ASSERT_TRUE(device.getBuffer(pixels, image.getData()));
    Blob blob("memory.png");
    ASSERT_TRUE(image.save(blob));
    blob.seek(0);
    Image loaded;
    ASSERT_TRUE(loaded.load(blob));
    EXPECT_EQ(memcmp(loaded.getData(), image.getData(), image.getDataSize()), 0);
}

static void use_containers(uint32_t seed) {
    Array<String> texts;
    ArrayStack<String, 4> few;
    Map<String, Array<uint32_t>> lists;
    Set<uint32_t> set;
    AtomicArray<String> shared;
    for(uint32_t i = 0; i < 300; i++) {
        const String text = String::format("a text of a length that needs memory %u", (i * seed) % 97);
        texts.append(text);
        few.append(text);
        lists.append(text, Array<uint32_t>(i % 7));
        set.append(i * seed % 101);
        shared.append(text);
        if(i % 3 == 0) lists.remove(texts[i / 2]);
        if(i % 5 == 0) set.remove(i);
        if(i % 7 == 0) texts.insert(i / 3, text.upper() + text.substring(seed % 9));
    }
    quickSort(few.get(), few.size());
    few.removeFast(3, 200);
    Function<uint32_t(uint32_t)> func = [texts](uint32_t index) { return texts[index].size(); };
    const Function<uint32_t(uint32_t)> copy = func;
    EXPECT_EQ(copy(5), texts[5].size());
    AutoPtr<Array<String>> owner(new Array<String>(texts));
    AutoPtr<Array<String>> next = owner;
    EXPECT_GE(texts[7].split(" ").size(), 9u);
    lists = Map<String, Array<uint32_t>>(lists);
}

static void use_streams(const String &folder) {
    Blob text("leak.text"), packed;
    for(uint32_t i = 0; i < 5000; i++) text.printf("%u %s\n", i, "line");
    text.seek(0);
    packed.encodeZip(text, text.getSize());
    packed.seek(0);
    Blob unpacked;
    bool status = true;
    unpacked.decodeZip(packed, 0, &status);
    EXPECT_TRUE(status && unpacked.getSize() == text.getSize());
    packed.seek(packed.getSize() / 2);
    Blob().decodeZip(packed, 0, &status);
    EXPECT_FALSE(status);
    Cache cache;
    ASSERT_TRUE(cache.open(folder));
    text.seek(0);
    const String key = text.getSHA1();
    text.seek(0);
    Blob loaded;
    EXPECT_TRUE(cache.save(key, text) && cache.load(key, loaded) && cache.clear());
    Source::setBlock("leak.text", text.getData(), text.getSize());
    Source source;
    EXPECT_TRUE(source.open("leak.text") && source.getSize() == text.getSize());
    EXPECT_TRUE(Source::removeBlock("leak.text") && !source.open("leak.text"));
}

static void use_documents() {
    Json json;
    ASSERT_TRUE(json.create("{\"a\":[1,[2,{\"b\":\"text \\u00e9\"}]],\"c\":{\"d\":null}}"));
    Json copy = json.clonePtr(), child = json.getChild("a");
    json.removeChild(child);
    copy.getChild("c").addChild("e", "a value that lies on the heap, long as it is");
    copy.addChild(child);
    Blob blob;
    EXPECT_TRUE(copy.save(blob) && !json.create("[1,[2,"));
    blob.seek(0);
    EXPECT_TRUE(json.load(blob));
    json.destroyPtr();
}

static void use_images(Async &async) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 61, 33));
    for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t(i * 7);
    for(const char *name : {"a.image", "a.png", "a.jpg", "a.dds", "a.ktx", "a.tga", "a.bmp", "a.ppm"}) {
        Blob blob(name);
        ASSERT_TRUE(image.save(blob) || image.toFormat(FormatRGBu8n).save(blob)) << name;
        blob.seek(0);
        Image loaded;
        EXPECT_TRUE(loaded.load(blob)) << name;
        blob.setSize(blob.getSize() / 2);
        blob.seek(0);
        loaded.load(blob);
    }
    EXPECT_TRUE(image.toFormat(FormatBC1RGBu8n, Image::FlagNone, &async));
    EXPECT_TRUE(image.getResized(Size(20, 50), Image::FlagNone, &async).getMipmapped());
}

static void use_tasks(Async &async) {
    Async::Task tasks[40];
    for(uint32_t i = 0; i < 40; i++) {
        tasks[i] = async.run([i] { return String::format("the result of a function %u", i); });
        tasks[i].run([] { throw String("a text"); });
        if(i % 4 == 0) tasks[i].cancel();
        if(i % 5 == 0) async.append(tasks[i]);
        if(i % 6 == 0) tasks[i] = Async::Task();
    }
    EXPECT_TRUE(async.wait());
    EXPECT_EQ(tasks[1].get<String>(), "the result of a function 1");
}

static bool drop_message(Log::Level, size_t, const char *, void *) { return true; }

TEST(Leak, foundation) {
    const size_t memory = Allocator::getMemory();
    const size_t allocations = Allocator::getAllocations();
    const std::string folder = testing::TempDir() + "leak." + std::to_string(getpid());
    Log::setCallback(drop_message);
    for(uint32_t i = 1; i < 5; i++) {
        Async async;
        async.init();
        use_containers(i * 13);
        use_streams(folder.c_str());
        use_documents();
        use_images(async);
        use_tasks(async);
    }
    Log::setCallback(nullptr);
    rmdir(folder.c_str());
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}

TEST(Leak, device) {
    const size_t memory = Allocator::getMemory();
    const size_t allocations = Allocator::getAllocations();
    Log::setCallback(drop_message);
    for(int i = 0; i < 3; i++) {
        make_picture(false);
        make_picture(true);
    }
    Log::setCallback(nullptr);
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}
