// Shared test support: the library loaded by path as a host loads it, argument lists written
// one line per call, and the one check of refused calls that every entry's tests use.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "hw.h"
#include "refhost/ref_host.h"

namespace hwtest {

using Bounds = std::vector<std::pair<int32_t, int32_t>>;

inline const refhost::Library &library() {
    static const refhost::Library lib(HW_LIBRARY_PATH);
    return lib;
}

inline HostEntry entry(const char *name) { return library().entry(name); }

// ---- argument lists

enum RTableFlags : int { kReal = 1, kSparse = 2, kOtherOrder = 4, kReadOnly = 8, kUnbacked = 16 };

struct Arg {
    enum Kind { Int, Word, Float, Name, Table, Same } kind;
    int64_t value = 0;  // Int: the integer (big when it needs more than 31 bits); Word: the raw
                        // immediate word of this value; Same: the index of the argument repeated
    Bounds bounds = {};
    int flags = 0;
    std::vector<double> values = {};  // a Table's contents as stored; empty: a fill pattern
};
inline Arg I(int64_t v) { return {Arg::Int, v}; }
inline Arg Word(int64_t v) { return {Arg::Word, v}; }
inline Arg F() { return {Arg::Float}; }
inline Arg N() { return {Arg::Name}; }
inline Arg Same(int64_t index) { return {Arg::Same, index}; }
inline Arg B(Bounds bounds, int flags = 0) { return {Arg::Table, 0, std::move(bounds), flags}; }
// Complex unless kReal, with bounds (1, n) for each length n.
inline Arg T(const std::vector<int32_t> &lengths, int flags = 0, std::vector<double> values = {}) {
    Arg a{Arg::Table, 0, {}, flags, std::move(values)};
    for (int32_t n : lengths) a.bounds.emplace_back(1, n);
    return a;
}
// A real vector with these contents.
inline Arg V(std::vector<double> values) {
    const int32_t n = int32_t(values.size());
    return T({n}, kReal, std::move(values));
}

inline std::vector<HostValue> make_args(refhost::Host &h, const std::vector<Arg> &args) {
    std::vector<HostValue> words;
    for (const Arg &a : args) {
        switch (a.kind) {
        case Arg::Int: words.push_back(h.integer(a.value)); break;
        case Arg::Word: words.push_back(refhost::Host::immediate(a.value)); break;
        case Arg::Float: words.push_back(h.floating(0.5)); break;
        case Arg::Name: words.push_back(h.name("x")); break;
        case Arg::Same: words.push_back(words.at(size_t(a.value))); break;
        case Arg::Table: {
            const refhost::RTableShape shape{a.bounds, a.flags & kReal ? HW_DATATYPE_DOUBLE : HW_DATATYPE_COMPLEX,
                                            a.flags & kSparse ? int32_t{refhost::kSparseStorage} : HW_STORAGE_RECT,
                                            a.flags & kOtherOrder ? int32_t{refhost::kFortranOrder} : HW_ORDER_C,
                                            (a.flags & kReadOnly) != 0, (a.flags & kUnbacked) != 0};
            words.push_back(h.rtable(shape, a.values.empty() ? nullptr : a.values.data()));
            if (a.values.empty()) std::memset(h.data(words.back()), 0x3C, h.byte_size(words.back()));
            EXPECT_TRUE(a.values.empty() || a.values.size() * 8 == h.byte_size(words.back()));
            break;
        }
        }
    }
    return words;
}

// `base` with some arguments replaced (numbered from 1; number 0 drops the last argument).
inline std::vector<Arg> with(std::vector<Arg> base, const std::vector<std::pair<int, Arg>> &changes) {
    for (const auto &[number, arg] : changes) {
        if (number == 0) base.pop_back();
        else base.at(size_t(number - 1)) = arg;
    }
    return base;
}

// ---- calls that must leave everything as it was

struct Refusal {
    std::vector<Arg> args;
    std::string message;  // empty: the call succeeds
};

// Each call fails with its message (or succeeds when it has none), creates no rtable,
// assigns no name and leaves every rtable byte for byte as it was.
inline void expect_untouched(const char *entry_name, const std::vector<Refusal> &cases) {
    for (size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(testing::Message() << entry_name << " case " << i << ": " << cases[i].message);
        refhost::Host h;
        const std::vector<HostValue> args = make_args(h, cases[i].args);
        std::vector<std::vector<uint8_t>> before;
        for (HostValue a : args) before.push_back(h.is_rtable(a) ? h.bytes(a) : std::vector<uint8_t>{});
        const refhost::CallResult r = h.call(entry(entry_name), args);
        EXPECT_EQ(r.ok, cases[i].message.empty());
        EXPECT_EQ(r.error, cases[i].message);
        EXPECT_TRUE(h.created.empty());
        for (size_t j = 0; j < args.size(); ++j) {
            if (h.is_rtable(args[j])) {
                EXPECT_EQ(h.bytes(args[j]), before[j]) << "argument " << j + 1;
            }
            if (cases[i].args[j].kind == Arg::Name) {
                EXPECT_FALSE(h.is_assigned(args[j]));
            }
        }
    }
}

inline std::vector<double> doubles(refhost::Host &h, HostValue rt) {
    const double *p = static_cast<const double *>(h.data(rt));
    return std::vector<double>(p, p + h.byte_size(rt) / sizeof(double));
}

}  // namespace hwtest
