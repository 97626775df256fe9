#include <Ostrevan.h>
#include <core/OstrevanBlob.h>

int main(int argc, char **argv) {
    Ostrevan::App app(argc, argv);
    Ostrevan::Blob blob("consumer");
    blob.writeu32(42);
    blob.seek(0);
    return (app.create() && blob.readu32() == 42) ? 0 : 1;
}
