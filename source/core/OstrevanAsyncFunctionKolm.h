// A function of the application as the core layer sees it.

#pragma once

#include <core/OstrevanAsync.h>
#include <core/OstrevanString.h>

#include "KolmAsync.h"
#include "KolmString.h"

namespace Ostrevan {

/// Owns the application's function and goes with it, whether it was run or not.
class OstrevanAsyncFunction final : public Kolm::AsyncFunctionBase {
public:
    explicit OstrevanAsyncFunction(Ostrevan::AsyncFunctionBase *func) : func(func) {
        KOLM_ASSERT(func != nullptr && "Async::Task::run(): function is null");
    }
    ~OstrevanAsyncFunction() override { delete func; }
    void run() override {
        try {
            func->run();
        } catch(const String &text) {
            throw Kolm::String(text.get()); // so that the log tells the text
        }
    }
    const void *get() const override { return func->get(); }

private:
    Ostrevan::AsyncFunctionBase *func;
};

} // namespace Ostrevan
