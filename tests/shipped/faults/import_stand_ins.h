#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "common/handle.h"
#include "fault_plan.h"
#include "ledger.h"

namespace velktest {

// How one imported function is made to fail by the plan, and what its calls do to the books.

template <std::size_t index, class First, class... Rest>
auto Pick(First first, Rest... rest) {
    if constexpr (index == 0) {
        return first;
    } else {
        return Pick<index - 1>(rest...);
    }
}

// What a call does to the books. `kGivesBack`: it is booked before the call, which is made in any case.

struct Nothing {
    static constexpr bool kGivesBack = false;
    static void Book(auto...) {}
};

struct GivesBack {
    static constexpr bool kGivesBack = true;
    static void Book(auto...) {}
};

/// Hands something out as its result.
template <Owned kind>
struct Returns {
    static constexpr bool kGivesBack = false;
    template <class Result>
    static void Book(Result result, auto...) {
        if (result != nullptr && result != INVALID_HANDLE_VALUE) Books().Add(kind, result);
    }
};

/// Hands something out through one of its arguments.
template <Owned kind, std::size_t index>
struct Fills {
    static constexpr bool kGivesBack = false;
    static void Book(auto, auto... arguments) {
        auto* const out = Pick<index>(arguments...);
        if (out != nullptr && *out != nullptr) Books().Add(kind, *out);
    }
};

/// Takes back what one of its arguments names.
template <Owned kind, std::size_t index = 0>
struct Takes {
    static constexpr bool kGivesBack = true;
    static void Book(auto... arguments) {
        const auto what = Pick<index>(arguments...);
        if (what != nullptr && what != INVALID_HANDLE_VALUE) Books().Remove(kind, what);
    }
};

struct TakesHandle {
    static constexpr bool kGivesBack = true;
    static void Book(HANDLE handle) { Books().RemoveHandle(handle); }
};

struct TakesVariant {
    static constexpr bool kGivesBack = true;
    static void Book(VARIANTARG* value) { Books().RemoveVariant(*value); }
};

struct TakesArray {
    static constexpr bool kGivesBack = true;
    static void Book(SAFEARRAY* array) { Books().RemoveArray(array); }
};

/// Array elements come as copies.
struct FillsElement {
    static constexpr bool kGivesBack = false;
    static void Book(HRESULT result, SAFEARRAY* array, LONG*, void* element) {
        VARTYPE type = VT_EMPTY;
        if (FAILED(result) || FAILED(::SafeArrayGetVartype(array, &type)) || type != VT_BSTR) return;
        if (BSTR const text = *static_cast<BSTR*>(element)) Books().Add(Owned::kText, text);
    }
};

struct JoinsApartment {
    static constexpr bool kGivesBack = false;
    static void Book(HRESULT result, void*, DWORD) {
        if (SUCCEEDED(result)) Books().Add(Owned::kApartment, nullptr);
    }
};

struct LeavesApartment {
    static constexpr bool kGivesBack = true;
    static void Book() { Books().Remove(Owned::kApartment, nullptr); }
};

/// Stands in for one function: `failure` is what it answers when it fails, `error` its GetLastError().
template <CallName name, class Function, std::intptr_t failure, DWORD error, class Booking>
struct Import;

template <CallName name, class Result, class... Arguments, std::intptr_t failure, DWORD error, class Booking>
struct Import<name, Result(Arguments...), failure, error, Booking> {
    static inline Result (*original)(Arguments...) = nullptr;

    static Result Call(Arguments... arguments) {
        if constexpr (Booking::kGivesBack) {
            {
                const velk::LastErrorKeeper keeper;
                Booking::Book(arguments...);
            }
            if constexpr (std::is_void_v<Result>) {
                original(arguments...);
            } else {
                const Result result = original(arguments...);
                return Faults().Fails(name.text) ? Failure() : result;
            }
        } else {
            if (Faults().Fails(name.text)) return Failure();
            const Result result = original(arguments...);
            const velk::LastErrorKeeper keeper;
            Booking::Book(result, arguments...);
            return result;
        }
    }

    static Result Failure() {
        Faults().NoteFailure(name.text);
        if (error != ERROR_SUCCESS) ::SetLastError(error);
        if constexpr (std::is_pointer_v<Result>) {
            return reinterpret_cast<Result>(failure);
        } else {
            return static_cast<Result>(failure);
        }
    }
};

}  // namespace velktest
