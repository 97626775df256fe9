// What the fuzz entries of streams share.

#pragma once

#include <stdlib.h>
#include <vector>

#include "KolmBlob.h"
#include "KolmLog.h"

#define FUZZ_CHECK(EXPR) ((EXPR) ? void(0) : abort())

/// Keeps the log silent.
inline void quiet_log() {
    static const bool quiet = [] {
        Kolm::Log::setCallback([](Kolm::Log::Level, size_t, const char *, void *) { return true; });
        return true;
    }();
    (void)quiet;
}

/// Bytes whose end is known to the sanitizer, as a stream that gives no memory and no size: a pipe. It takes so many
/// bytes and no more.
class FuzzPipe : public Kolm::Blob {
public:
    FuzzPipe(const uint8_t *data, size_t size, size_t room) : Blob(data, size), room(room) {}
    bool isMapped() const override { return false; }
    size_t getSize() const override { return 0; }
    const uint8_t *getData() const override { return nullptr; }
    uint8_t *mapWrite(size_t) override { return nullptr; }
    size_t write(const void *src, size_t size) override {
        if(size > room) return 0;
        room -= size;
        return Blob::write(src, size);
    }
    bool read_encoded(uint64_t &value, uint32_t max) override { return Stream::read_encoded(value, max); }

    const uint8_t *bytes() const { return Blob::getData(); }
    size_t length() const { return Blob::getSize(); }

private:
    size_t room;
};
