// Value type that stands for any callable.
//
// A plain function or a member function with its object is kept as pointers, without allocation. Bound trailing
// arguments and functors live in a holder on the heap; copying a Function clones its holder, so each copy has its own
// state.

#pragma once

#include <string.h>

#include <core/OstrevanAllocator.h>

namespace Ostrevan {

template<class Signature> class Function;

/// Callable with the signature Ret (Args...). Call and bound arguments together are 8 at most.
template<class Ret, class... Args> class Function<Ret(Args...)> {
    static constexpr size_t MaxArguments = 8;
    static_assert(sizeof...(Args) <= MaxArguments, "Function takes 8 arguments at most");

public:
    /// Owned holder of a callable.
    class LambdaBase : public Allocated {
    public:
        explicit LambdaBase(const void *ptr = nullptr) : ptr(ptr) {}
        virtual ~LambdaBase() = default;
        virtual Ret run(Args... args) = 0;
        virtual LambdaBase *clone() const = 0;

        const void *ptr; // the callable that is held
    };
    template<class Functor> class Lambda final : public LambdaBase {
    public:
        explicit Lambda(const Functor &functor) : functor(functor) { this->ptr = &this->functor; }
        Ret run(Args... args) override { return functor(std::forward<Args>(args)...); }
        LambdaBase *clone() const override { return new Lambda(functor); }

        Functor functor;
    };

    Function() = default;
    Function(std::nullptr_t) {}
    Function(Ret (*func)(Args...)) { set_plain(func); }
    /// Function whose trailing parameters take the values of \p bound.
    template<class... Params, class... Bound, class = std::enable_if_t<(sizeof...(Bound) > 0)>>
    Function(Ret (*func)(Params...), Bound... bound) {
        static_assert(sizeof...(Params) == sizeof...(Args) + sizeof...(Bound), "invalid number of bound arguments");
        static_assert(sizeof...(Params) <= MaxArguments, "Function takes 8 arguments at most");
        if(func == nullptr) return;
        set_lambda(
            [func, bound...](Args... args) mutable -> Ret { return func(std::forward<Args>(args)..., bound...); });
    }
    /// Member function with its object, which the caller keeps alive.
    template<class Class, class Object> Function(Object *object, Ret (Class::*func)(Args...)) {
        set_member(static_cast<Class *>(object), func);
    }
    template<class Class, class Object> Function(const Object *object, Ret (Class::*func)(Args...) const) {
        set_member(static_cast<const Class *>(object), func);
    }
    template<class Class, class Object, class... Params, class... Bound,
             class = std::enable_if_t<(sizeof...(Bound) > 0)>>
    Function(Object *object, Ret (Class::*func)(Params...), Bound... bound) {
        static_assert(sizeof...(Params) == sizeof...(Args) + sizeof...(Bound), "invalid number of bound arguments");
        static_assert(sizeof...(Params) <= MaxArguments, "Function takes 8 arguments at most");
        if(func == nullptr) return;
        Class *c = object;
        set_lambda([c, func, bound...](Args... args) mutable -> Ret {
            return (c->*func)(std::forward<Args>(args)..., bound...);
        });
    }
    /// Any functor, which is copied.
    template<class Functor, class = std::enable_if_t<!std::is_same_v<std::decay_t<Functor>, Function> &&
                                                     std::is_invocable_r_v<Ret, std::decay_t<Functor> &, Args...> &&
                                                     !std::is_convertible_v<Functor, Ret (*)(Args...)>>>
    Function(const Functor &functor) {
        if(!is_empty_function(functor, 0)) set_lambda(functor);
    }
    template<class Functor,
             class = std::enable_if_t<std::is_class_v<Functor> && std::is_convertible_v<Functor, Ret (*)(Args...)>>,
             class = void>
    Function(const Functor &functor) {
        set_plain(functor);
    }
    Function(const Function &other) { copy(other); }
    Function(Function &&other) noexcept { move(other); }
    ~Function() { delete lambda; }

    Function &operator=(const Function &other) {
        if(this != &other) {
            clear();
            copy(other);
        }
        return *this;
    }
    Function &operator=(Function &&other) noexcept {
        if(this != &other) {
            clear();
            move(other);
        }
        return *this;
    }

    void clear() {
        delete lambda;
        lambda = nullptr;
        invoke = nullptr;
        c = nullptr;
        memset(func, 0, sizeof(func));
    }
    bool empty() const { return invoke == nullptr; }
    explicit operator bool() const { return invoke != nullptr; }

    Ret run(Args... args) const {
        OSTREVAN_ASSERT(invoke && "Function::run(): function is empty");
        return invoke(*this, std::forward<Args>(args)...);
    }
    Ret operator()(Args... args) const {
        OSTREVAN_ASSERT(invoke && "Function::run(): function is empty");
        return invoke(*this, std::forward<Args>(args)...);
    }

    /// Same function on the same object. Holders are equal only to themselves.
    bool operator==(const Function &other) const {
        return invoke == other.invoke && c == other.c && lambda == other.lambda &&
               memcmp(func, other.func, sizeof(func)) == 0;
    }
    bool operator!=(const Function &other) const { return !(*this == other); }

private:
    // A function of another signature or namespace that is empty gives an empty function.
    template<class Functor>
    static auto is_empty_function(const Functor &functor, int)
        -> std::enable_if_t<std::is_class_v<typename Functor::LambdaBase>, bool> {
        return functor.empty();
    }
    template<class Functor> static bool is_empty_function(const Functor &, long) { return false; }

    template<class Func> void set_plain(Func f) {
        Ret (*plain)(Args...) = f;
        if(plain == nullptr) return;
        memcpy(func, &plain, sizeof(plain));
        invoke = [](const Function &self, Args... args) -> Ret {
            Ret (*f)(Args...);
            memcpy(&f, self.func, sizeof(f));
            return f(std::forward<Args>(args)...);
        };
    }
    // GCC sees the branch for virtual members also for classes that have none.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
    template<class Class, class Member> void set_member(Class *object, Member member) {
        static_assert(sizeof(member) <= sizeof(func), "unknown kind of member function pointer");
        if(member == nullptr) return;
        c = object;
        memcpy(func, &member, sizeof(member));
        invoke = [](const Function &self, Args... args) -> Ret {
            Member f;
            memcpy(&f, self.func, sizeof(f));
            return (static_cast<Class *>(const_cast<void *>(self.c))->*f)(std::forward<Args>(args)...);
        };
    }
#pragma GCC diagnostic pop
    template<class Functor> void set_lambda(const Functor &functor) { set_holder(new Lambda<Functor>(functor)); }
    void set_holder(LambdaBase *holder) {
        lambda = holder;
        invoke = [](const Function &self, Args... args) -> Ret {
            return self.lambda->run(std::forward<Args>(args)...);
        };
    }
    void copy(const Function &other) {
        invoke = other.invoke;
        c = other.c;
        memcpy(func, other.func, sizeof(func));
        lambda = other.lambda ? other.lambda->clone() : nullptr;
    }
    void move(Function &other) {
        invoke = other.invoke;
        c = other.c;
        memcpy(func, other.func, sizeof(func));
        lambda = other.lambda;
        other.lambda = nullptr;
        other.clear();
    }

    Ret (*invoke)(const Function &, Args...) = nullptr; // knows what `func`, `c` and `lambda` hold; null when empty
    const void *c = nullptr;                            // object of a member function
    unsigned char func[16] = {};                        // bytes of the function or member function pointer
    LambdaBase *lambda = nullptr;                       // owned holder
};

} // namespace Ostrevan
