// What is covered and where: pixel sets of triangles, viewports, scissors, faces and targets, against the same work here.

#include <random>

#include "DrawTest.h"

using namespace Kolm;

class RasterVKTest : public DrawTest {
protected:
    struct Point {
        int32_t x, y; // 1/16 pixels from the top left
    };

    // Pixels whose centre lies in the triangle: edge functions with the rule that top and left edges belong to it.
    static void add_triangle(std::vector<uint32_t> &counts, uint32_t size, Point a, Point b, Point c) {
        const auto edge = [](Point p, Point q, int32_t x, int32_t y) {
            return int64_t(q.x - p.x) * (y - p.y) - int64_t(q.y - p.y) * (x - p.x);
        };
        if(edge(a, b, c.x, c.y) < 0) std::swap(b, c);
        if(edge(a, b, c.x, c.y) == 0) return;
        const auto inside = [&](Point p, Point q, int32_t x, int32_t y) {
            const int64_t value = edge(p, q, x, y);
            return value > 0 || (value == 0 && (q.y < p.y || (q.y == p.y && q.x > p.x)));
        };
        for(uint32_t i = 0; i < size * size; i++) {
            const int32_t x = int32_t(i % size) * 16 + 8, y = int32_t(i / size) * 16 + 8;
            counts[i] += (inside(a, b, x, y) && inside(b, c, x, y) && inside(c, a, x, y));
        }
    }
    // Clip space has y upwards.
    static std::array<float, 4> get_clip(Point p, float size) {
        return {float(p.x) / 16.0f / size * 2.0f - 1.0f, 1.0f - float(p.y) / 16.0f / size * 2.0f, 0.0f, 1.0f};
    }
    static void add_position(Pipeline &pipeline) {
        pipeline.addAttribute(Pipeline::AttributePosition, FormatRGBAf32, 0, 0, 16);
    }
};

TEST_F(RasterVKTest, clear_color) {
    const struct {
        Format format;
        Color color;
        std::vector<uint8_t> pixel;
    } rows[] = {
        {FormatRGBAu8n, Color(1.0f, 0.0f, 0.2f, 0.6f), {255, 0, 51, 153}},
        {FormatBGRAu8n, Color(1.0f, 0.0f, 0.2f, 0.6f), {51, 0, 255, 153}},
        {FormatRGBAu8, Color(7.0f, 0.0f, 255.0f, 300.0f), {7, 0, 255, 255}},
        {FormatRGBAi8, Color(-7.0f, 1.0f, 127.0f, -128.0f), {0xF9, 1, 0x7F, 0x80}},
        {FormatRu16n, Color(0.5f, 0.0f, 0.0f, 0.0f), {0x00, 0x80}},
    };
    for(const auto &row : rows) {
        TexturePtr texture(device->createTexture2D(row.format, 17, 5, target_flags));
        ASSERT_TRUE(texture);
        TargetPtr target = createTarget({texture.get()});
        target->setClearColor(row.color);
        draw(target, [](Command &) {});
        Image image;
        image.create2D(row.format, 17, 5);
        ASSERT_TRUE(device->getTexture(texture.get(), image));
        for(size_t i = 0; i < 17 * 5 * row.pixel.size(); i++)
            ASSERT_EQ(image.getData()[i], row.pixel[i % row.pixel.size()]) << getFormatName(row.format) << " " << i;
    }
}

TEST_F(RasterVKTest, pixel_sets_of_triangles) {
    constexpr uint32_t size = 64;
    // Every pixel counts the triangles over it.
    PipelinePtr pipeline =
        createPipeline({{Shader::TypeVertex, position_vertex}, {Shader::TypeFragment, R"(#version 450
        layout(location = 0) out vec4 out_color;
        void main() { out_color = vec4(1.0 / 255.0); })"}},
                       [](Pipeline &p) {
                           add_position(p);
                           p.setBlend(Pipeline::BlendOpAdd, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne);
                       });
    ASSERT_TRUE(pipeline);
    TexturePtr texture = createTexture(FormatRGBAu8n, size, size);
    TargetPtr target = createTarget({texture.get()});
    std::mt19937 random(3);
    for(uint32_t round = 0; round < 8; round++) {
        std::vector<std::array<float, 4>> vertices;
        std::vector<uint32_t> counts(size * size, 0);
        const auto append = [&](Point a, Point b, Point c) {
            for(const Point &p : {a, b, c}) vertices.push_back(get_clip(p, size));
            add_triangle(counts, size, a, b, c);
        };
        for(uint32_t i = 0; i < 20; i++) {
            // Coarse grids meet pixel centres with edges and corners.
            const int32_t step = (round % 2) ? 8 : 1;
            Point p[4];
            for(Point &q : p) q = {int32_t(random() % 1025) / step * step, int32_t(random() % 1025) / step * step};
            append(p[0], p[1], p[2]);
            append(p[2], p[1], p[3]);
        }
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setVertexData(0, vertices.data(), vertices.size() * sizeof(vertices[0]));
            command.drawArrays(uint32_t(vertices.size()));
        });
        const std::vector<Pixel> pixels = getPixels(texture.get());
        for(uint32_t i = 0; i < size * size; i++)
            ASSERT_EQ(pixels[i][0], counts[i]) << "round " << round << " pixel " << i % size << "," << i / size;
    }
}

// Clip +1 is the top, row 0 is the top; viewports and scissors count from there.
TEST_F(RasterVKTest, viewports_and_scissors) {
    PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
        layout(location = 0) out vec2 s_clip;
        void main() {
            s_clip = vec2(float((gl_VertexIndex & 1) * 4 - 1), float((gl_VertexIndex >> 1) * 4 - 1));
            gl_Position = vec4(s_clip, 0.0, 1.0);
        })"},
                                           {Shader::TypeFragment, R"(#version 450
        layout(location = 0) in vec2 s_clip;
        layout(location = 0) out vec4 out_color;
        void main() { out_color = vec4(s_clip * 0.5 + 0.5, 0.0, 1.0); })"}},
                                          [](Pipeline &p) { p.setScissorTest(true); });
    ASSERT_TRUE(pipeline);
    TexturePtr texture = createTexture(FormatRGBAu8n, 16, 8);
    TargetPtr target = createTarget({texture.get()});
    const struct {
        Viewport viewport;
        Scissor scissor;
    } rows[] = {
        {Viewport(16, 8), Scissor(16, 8)},      {Viewport(4, 2, 8, 4), Scissor(16, 8)},
        {Viewport(16, 8), Scissor(3, 1, 2, 5)}, {Viewport(2, 0, 4, 4), Scissor(3, 2, 100, 100)},
        {Viewport(16, 8), Scissor(0, 0, 0, 0)},
    };
    for(const auto &row : rows) {
        const Viewport &v = row.viewport;
        const Scissor &s = row.scissor;
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setViewport(0, v);
            command.setScissor(0, s);
            command.drawArrays(3);
        });
        const std::vector<Pixel> pixels = getPixels(texture.get());
        for(int32_t y = 0; y < 8; y++) {
            for(int32_t x = 0; x < 16; x++) {
                const Pixel &pixel = pixels[size_t(y) * 16 + x];
                const float fx = (x + 0.5f - v.x) / v.width, fy = 1.0f - (y + 0.5f - v.y) / v.height;
                const bool inside = (fx > 0.0f && fx < 1.0f && fy > 0.0f && fy < 1.0f && x >= s.x && y >= s.y &&
                                     x < s.x + s.width && y < s.y + s.height);
                ASSERT_EQ(pixel[3], inside ? 255 : 0) << x << "," << y;
                if(!inside) continue;
                ASSERT_NEAR(pixel[0], fx * 255.0f, 1.0f) << x << "," << y;
                ASSERT_NEAR(pixel[1], fy * 255.0f, 1.0f) << x << "," << y;
            }
        }
    }
}

// Points, lines and strips cover what their rules say.
TEST_F(RasterVKTest, primitives) {
    const struct {
        Pipeline::Primitive primitive;
        std::vector<float> vertices; // pixels of an 8 x 8 target
        std::vector<uint32_t> pixels;
    } rows[] = {
        {Pipeline::PrimitivePoint, {1.5f, 2.5f, 6.5f, 0.5f}, {17, 6}},
        {Pipeline::PrimitiveLine, {0.5f, 3.5f, 4.5f, 3.5f, 7.5f, 5.5f, 7.5f, 7.5f}, {24, 25, 26, 27, 47, 55}},
        {Pipeline::PrimitiveLineStrip, {0.5f, 3.5f, 3.5f, 3.5f, 3.5f, 6.5f}, {24, 25, 26, 27, 35, 43}},
        {Pipeline::PrimitiveTriangleStrip, {1, 1, 1, 3, 4, 1, 4, 3}, {9, 10, 11, 17, 18, 19}},
    };
    TexturePtr texture = createTexture(FormatRGBAu8n, 8, 8);
    TargetPtr target = createTarget({texture.get()});
    for(const auto &row : rows) {
        PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
            layout(location = 0) in vec2 in_position;
            void main() {
                gl_Position = vec4(in_position.x / 4.0 - 1.0, 1.0 - in_position.y / 4.0, 0.0, 1.0);
                gl_PointSize = 1.0;
            })"},
                                               {Shader::TypeFragment, white_fragment}},
                                              [&](Pipeline &p) {
                                                  p.addAttribute(Pipeline::AttributePosition, FormatRGf32, 0, 0, 8);
                                                  p.setPrimitive(row.primitive);
                                              });
        ASSERT_TRUE(pipeline);
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setVertexData(0, row.vertices.data(), row.vertices.size() * 4);
            command.drawArrays(uint32_t(row.vertices.size() / 2));
        });
        std::vector<uint32_t> pixels(64, 0);
        for(const uint32_t i : row.pixels) pixels[i] = 255;
        const std::vector<Pixel> drawn = getPixels(texture.get());
        for(uint32_t i = 0; i < 64; i++) ASSERT_EQ(drawn[i][0], pixels[i]) << row.primitive << " " << i;
    }
}
