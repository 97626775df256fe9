// What the examples share: the command line, a device, and the picture at the end. Nothing here is needed to use the
// library; each example shows that part of it which its head names.

#pragma once

#include <Ostrevan.h>

#include <string.h>

class Example {
public:
    /// \p about is the line of --help. Without --output the picture is NAME.png in the current folder.
    Example(const char *name, const char *about, int argc, char **argv)
        : name(name), output(Ostrevan::String::format("%s.png", name)) {
        for(int i = 1; i < argc && !done; i++) {
            if(strcmp(argv[i], "--output") == 0 && i + 1 < argc) {
                output = argv[++i];
                continue;
            }
            done = true;
            if(strcmp(argv[i], "--help") == 0) {
                Ostrevan::Log::printf("Usage: %s [--output FILE.png]\n%s\n", name, about);
            } else {
                Ostrevan::Log::printf(Ostrevan::Log::Error, "%s: invalid argument \"%s\"\n", name, argv[i]);
                result = 2;
            }
        }
    }

    /// The default adapter and a device on it. If this is false, main() returns getResult().
    bool create() {
        if(done) return false;
        result = 1;
        context = Ostrevan::Context(Ostrevan::PlatformAny);
        if(!context.create()) return false;
        device = Ostrevan::Device(context);
        return bool(device);
    }
    int getResult() const { return result; }
    Ostrevan::Device &getDevice() { return device; }

    /// One line about what the device lacks, and the result of main().
    int fail(const char *text) const {
        Ostrevan::Log::printf(Ostrevan::Log::Error, "%s: %s\n", name, text);
        return 1;
    }

    /// Texture that is drawn to, read by shaders and copied from.
    Ostrevan::Texture createTarget(uint32_t width, uint32_t height) {
        return device.createTexture2D(Ostrevan::FormatRGBAu8n, width, height,
                                      Ostrevan::Texture::FlagTarget | Ostrevan::Texture::FlagSource);
    }

    /// Waits for the drawing and writes the file. Returns the result of main().
    int save(const Ostrevan::Texture &texture) {
        Ostrevan::Image image;
        if(!image.create2D(texture.getFormat(), texture.getWidth(), texture.getHeight())) return 1;
        return device.getTexture(texture, image) ? save(image) : 1;
    }
    int save(const Ostrevan::Image &image) const { return image.save(output) ? 0 : 1; }

private:
    const char *name;
    Ostrevan::String output;
    Ostrevan::Context context;
    Ostrevan::Device device;
    bool done = false;
    int result = 0;
};
