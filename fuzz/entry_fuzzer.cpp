// libFuzzer target: the six entry points through the reference host, from fuzzer bytes.
//
// Each input builds a valid argument list for one entry and then, as its next byte says,
// changes one field of it: an argument replaced by another kind of value, an integer pushed
// to a limit, an rtable given other bounds, type, storage, order or flags, one argument
// given twice, or one argument too many or too few. Any sanitizer report, any abort of the
// reference host (the library asked it something impossible) and any broken promise below
// is a finding:
//   - a refused call leaves every rtable as it was (unless an engine had already run);
//   - an accepted Fourier call never has more than 2^31 - 1 elements in its data;
//   - hw_FFT gives the same bits with the working storage given as with storage it makes;
//   - the library creates host rtables only for something to transform, at most twice the
//     data's length.
// HW_FUZZ_ENTRY=<name> fixes the entry; otherwise the first byte chooses it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "hw.h"
#include "refhost/ref_host.h"

namespace {

using refhost::Host;
using Bounds = std::vector<std::pair<int32_t, int32_t>>;

struct Entry {
    const char *name;
    HostEntry fn;
};
const Entry kEntries[] = {{"hw_FFT", hw_FFT}, {"hw_DFT", hw_DFT}, {"hw_DWT", hw_DWT},
                          {"hw_DWTinv", hw_DWTinv}, {"hw_GEMatrixInv", hw_GEMatrixInv}, {"Composite", Composite}};
int g_fixed_entry = -1;

// The fuzzer's bytes, read front to back; zeros once they run out.
struct Bytes {
    const uint8_t *p;
    size_t n;
    uint8_t byte() { return n ? (--n, *p++) : 0; }
    uint32_t below(uint32_t m) { return m ? byte() % m : 0; }  // small ranges only
    int32_t word() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | byte();
        return static_cast<int32_t>(v);
    }
};

// One argument as the host will see it.
struct Arg {
    enum Kind { Int, Big, Float, Name, Null, Table, Same } kind = Int;
    int64_t value = 0;  // Int, Big: the integer; Same: index of the argument repeated
    Bounds bounds;
    int32_t data_type = HW_DATATYPE_DOUBLE, storage = HW_STORAGE_RECT, order = HW_ORDER_C;
    bool read_only = false;
};
Arg integer(int64_t v) { return {Arg::Int, v}; }
Arg table(Bounds b, int32_t type) { Arg a{Arg::Table}; a.bounds = std::move(b); a.data_type = type; return a; }
Arg vector(int32_t n, int32_t type) { return table({{1, n}}, type); }

int64_t claimed(const Bounds &b) {  // elements the bounds claim, saturated at 2^62
    int64_t count = 1;
    for (const auto &[lo, hi] : b) {
        const int64_t length = hi >= lo ? int64_t{hi} - lo + 1 : 0;
        if (length == 0) return 0;
        count = count > (int64_t{1} << 62) / length ? int64_t{1} << 62 : count * length;
    }
    return count;
}

// ---- valid argument lists

Bounds shape(Bytes &b, int rank, int max_length) {
    Bounds s;
    for (int d = 0; d < rank; ++d) {
        const int32_t lower = b.below(4) == 0 ? -int32_t(b.below(3)) : 1;
        s.emplace_back(lower, lower + int32_t(b.below(max_length + 1)) - 1);
    }
    return s;
}

std::vector<Arg> valid(int entry, Bytes &b) {
    switch (entry) {
    case 0: case 1: {  // hw_FFT, hw_DFT
        const int rank = b.below(4);
        Arg data = table(shape(b, rank, 12), HW_DATATYPE_COMPLEX);
        data.order = b.below(2) ? int32_t{HW_ORDER_C} : int32_t{refhost::kFortranOrder};
        const int64_t length = rank == 1 ? claimed(data.bounds) : 0;
        const Arg first = integer(rank == 1 ? 1 + b.below(uint32_t(length ? length : 1)) : b.below(rank + 1));
        if (entry == 1) return {first, data, data, integer(b.below(2)), integer(b.below(3))};
        const Arg work = b.below(2) ? integer(0) : vector(int32_t(b.below(40)), HW_DATATYPE_COMPLEX);
        return {first, data, integer(b.below(2)), integer(b.below(2)), integer(b.below(3)), work};
    }
    case 2: case 3: {  // hw_DWT, hw_DWTinv: lengths, then rtables just big enough
        const int32_t n = 1 + b.below(16), count = 1 + b.below(3), taps = 1 + b.below(std::min(n, 6));
        const int32_t m = n / 2 + n % 2 - 1;
        std::vector<Arg> a(17);
        for (int set : {1, 10, 14}) {
            const int32_t last = set == 1 ? n - 1 : m, skip = b.below(3), offset = b.below(3);
            const int32_t tskip = last * skip + 1 + b.below(3);
            a[set - 1] = vector(last * skip + offset + tskip * (count - 1) + 1 + b.below(2), HW_DATATYPE_DOUBLE);
            a[set] = integer(skip), a[set + 1] = integer(tskip), a[set + 2] = integer(offset);
        }
        a[4] = integer(n), a[5] = integer(count), a[8] = integer(b.below(3));
        a[6] = vector(taps, HW_DATATYPE_DOUBLE), a[7] = vector(taps, HW_DATATYPE_DOUBLE);
        return a;
    }
    case 4: {  // hw_GEMatrixInv
        const int32_t rows = 1 + b.below(5);
        return {table({{1, rows}, {1, rows * (1 + int32_t(b.below(2)))}}, HW_DATATYPE_DOUBLE)};
    }
    default: {  // Composite
        const int32_t start = b.below(2) ? 1 + b.below(5000) : b.word() & INT32_MAX;
        return {integer(start ? start : 1), integer(b.below(200)), Arg{Arg::Name}};
    }
    }
}

// ---- one field changed

int64_t interesting(Bytes &b) {
    static const int64_t values[] = {0, 1, -1, 2, 3, 7, 64, INT32_MAX, INT32_MIN, INT32_MAX - 1, 1 << 30,
                                     -(1 << 30) - 1, int64_t{1} << 31, int64_t{1} << 32, 0x3fffffff, 2147483646};
    return b.below(3) == 0 ? b.word() : values[b.below(sizeof values / sizeof values[0])];
}

void mutate(std::vector<Arg> &args, Bytes &b) {
    const uint8_t what = b.byte() % 12;
    if (what == 0) return;  // the valid call itself
    if (what == 1) {  // one argument too many or too few
        if (b.below(2) && !args.empty()) args.pop_back();
        else args.push_back(integer(0));
        return;
    }
    if (args.empty()) return;
    const size_t i = b.below(uint32_t(args.size()));
    Arg &a = args[i];
    switch (what) {
    case 2: a = integer(interesting(b)); break;
    case 3: a = Arg{Arg::Big, interesting(b)}; break;
    case 4: a = Arg{static_cast<Arg::Kind>(Arg::Float + b.below(3))}; break;  // float, name, null
    case 5: a = Arg{Arg::Same, int64_t(b.below(uint32_t(args.size())))}; break;
    case 6: a = table(shape(b, b.below(4), 12), b.below(2) ? HW_DATATYPE_DOUBLE : HW_DATATYPE_COMPLEX); break;
    case 7: if (a.kind == Arg::Int) a.value += int64_t(b.below(5)) - 2; break;
    default:  // an rtable's settings or one of its bounds
        if (a.kind != Arg::Table) { a = integer(interesting(b)); break; }
        switch (b.below(6)) {
        case 0: a.data_type = b.below(2) ? refhost::kInt32Type : a.data_type ^ 1; break;
        case 1: a.storage = refhost::kSparseStorage; break;
        case 2: a.order ^= 3; break;
        case 3: a.read_only = true; break;
        case 4: if (b.below(8) == 0) a.bounds.assign(64, {1, 1}); else a.bounds.emplace_back(1, 1 + b.below(3)); break;
        default: {  // one bound, or a dimension's length (up to 2^32)
            if (a.bounds.empty()) break;
            auto &[lo, hi] = a.bounds[b.below(uint32_t(a.bounds.size()))];
            const int64_t v = interesting(b);
            if (b.below(2)) {
                (b.below(2) ? lo : hi) = int32_t(v);
            } else if (v >= 0 && v <= (int64_t{1} << 32)) {
                lo = int32_t(std::max<int64_t>(INT32_MIN, std::min<int64_t>(lo, int64_t{INT32_MAX} - v + 1)));
                hi = int32_t(int64_t{lo} + v - 1);
            }
        }
        }
    }
}

// ---- what may be run, and the promises

constexpr int64_t kMaxBacked = int64_t{1} << 20;  // elements the reference host really holds
constexpr int64_t kMaxTotal = 2147483647;

// The argument that argument i stands for (a repeated one is its original).
const Arg &resolved(const std::vector<Arg> &args, size_t i) {
    static const Arg null{Arg::Null};
    const Arg &a = args[i];
    return a.kind != Arg::Same ? a : size_t(a.value) < i ? args[size_t(a.value)] : null;
}

int64_t value_of(const std::vector<Arg> &args, size_t i) {
    const Arg &a = resolved(args, i);
    return a.kind == Arg::Int || a.kind == Arg::Big ? a.value : 0;
}

// Data of Fourier entries that the entry must refuse for its size: rank >= 2, over 2^31 - 1.
bool refused_for_size(int entry, const std::vector<Arg> &args, size_t i) {
    return entry <= 1 && (i == 1 || (entry == 1 && i == 2)) && args[i].bounds.size() >= 2 &&
           claimed(args[i].bounds) > kMaxTotal;
}

// Calls whose accepted form could take long or need more memory than the host holds.
bool too_big(int entry, const std::vector<Arg> &args) {
    int64_t largest = 0;
    for (size_t i = 0; i < args.size(); ++i)
        if (args[i].kind == Arg::Table && !refused_for_size(entry, args, i))
            largest = std::max(largest, claimed(args[i].bounds));
    if (largest > kMaxBacked) return true;
    if (entry == 1) return largest * largest > (int64_t{1} << 26);  // the direct transform is quadratic
    if (entry == 0 && args.size() > 1 && args[1].kind == Arg::Table) {
        // The generic odd-radix butterfly is quadratic in its radix: about n · p per dimension,
        // p the largest prime factor (the last radix of the decomposition).
        const int64_t total = claimed(args[1].bounds);
        for (const auto &[lo, hi] : args[1].bounds) {
            const int64_t length = hi >= lo ? int64_t{hi} - lo + 1 : 0;
            if (length < 2 || length > kMaxTotal) continue;
            uint32_t radices[HW_MAX_RADICES];
            const uint32_t count = ehw_RadixDec(static_cast<uint32_t>(length), radices);
            if (count > 0 && total > (int64_t{1} << 26) / radices[count - 1]) return true;
        }
    }
    if (entry == 4) return largest > (1 << 12);
    if ((entry == 2 || entry == 3) && args.size() > 8) {
        const int64_t taps = args[6].kind == Arg::Table ? std::min<int64_t>(claimed(args[6].bounds), 1 << 20) : 0;
        const int64_t work = std::max<int64_t>(value_of(args, 4), 0) * std::max<int64_t>(value_of(args, 5), 0);
        // Samples times taps, and the mirrored tail's system of taps x 2 taps.
        return work > (1 << 20) || work * taps > (1 << 24) || (taps > 64 && value_of(args, 8) == 1);
    }
    if (entry == 5 && args.size() > 1) return value_of(args, 1) > (1 << 20) && value_of(args, 1) <= kMaxTotal;
    return false;
}

[[noreturn]] void broken(const char *promise, const std::string &detail) {
    std::fprintf(stderr, "broken promise: %s (%s)\n", promise, detail.c_str());
    std::abort();
}

bool engine_message(const std::string &m) {
    for (const char *s : {"internal error", "the given matrix cannot be solved", "problem is ill conditioned",
                          "The given filter mask", "Error inverting", "Unable to allocate memory"})
        if (m.rfind(s, 0) == 0) return true;
    return false;
}

std::vector<HostValue> make(Host &h, int entry, const std::vector<Arg> &arg_list) {
    std::vector<HostValue> args;
    for (size_t i = 0; i < arg_list.size(); ++i) {
        const Arg &a = arg_list[i];
        switch (a.kind) {
        case Arg::Int: args.push_back(h.integer(a.value)); break;
        case Arg::Big: args.push_back(h.big_integer(a.value)); break;
        case Arg::Float: args.push_back(h.floating(0.5)); break;
        case Arg::Name: args.push_back(h.name("x")); break;
        case Arg::Null: args.push_back(h.null()); break;
        case Arg::Same: args.push_back(size_t(a.value) < i ? args[size_t(a.value)] : h.null()); break;
        case Arg::Table: {
            const refhost::RTableShape s{a.bounds, a.data_type, a.storage, a.order, a.read_only,
                                        refused_for_size(entry, arg_list, i)};
            args.push_back(h.rtable(s));
            auto *bytes = static_cast<uint8_t *>(h.data(args.back()));
            for (size_t j = 0; j < h.byte_size(args.back()); ++j) bytes[j] = uint8_t(j * 37 + 11) & 0x3f;
        }
        }
    }
    return args;
}

void run(int entry, const std::vector<Arg> &arg_list) {
    Host h(refhost::ErrorMode::Exception);
    const std::vector<HostValue> args = make(h, entry, arg_list);
    const int64_t data_elements = arg_list.size() > 1 && arg_list[1].kind == Arg::Table ? claimed(arg_list[1].bounds) : 0;
    std::vector<std::vector<uint8_t>> before;
    for (HostValue a : args) before.push_back(h.is_rtable(a) ? h.bytes(a) : std::vector<uint8_t>{});
    const refhost::CallResult r = h.call(kEntries[entry].fn, args);

    if (!r.ok && !engine_message(r.error))
        for (size_t i = 0; i < args.size(); ++i)
            if (h.is_rtable(args[i]) && h.bytes(args[i]) != before[i]) broken("refused call changed an rtable", r.error);
    if (r.ok && entry <= 1 && arg_list.size() > 1 && arg_list[1].kind == Arg::Table && arg_list[1].bounds.size() >= 2 &&
        claimed(arg_list[1].bounds) > kMaxTotal)
        broken("accepted more than 2^31 - 1 elements", kEntries[entry].name);
    if (r.ok && entry == 0 && args.size() == 6 && h.is_rtable(args[5])) {  // the same as with storage made
        std::vector<Arg> without = arg_list;
        without[5] = integer(0);
        Host fresh(refhost::ErrorMode::Exception);
        const std::vector<HostValue> again = make(fresh, entry, without);
        if (fresh.call(hw_FFT, again).ok && fresh.bytes(again[1]) != h.bytes(args[1]))
            broken("the given working storage changed the transform", "hw_FFT");
    }
    for (HostValue made : h.created) {
        const int64_t n = claimed(h.bounds(made));
        if (n > 2 * data_elements || (data_elements == 0 && n > 0)) broken("created a needless rtable", r.error);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    if (const char *name = std::getenv("HW_FUZZ_ENTRY"))
        for (int e = 0; e < 6; ++e)
            if (std::strcmp(name, kEntries[e].name) == 0) g_fixed_entry = e;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Bytes b{data, size};
    const int entry = g_fixed_entry >= 0 ? g_fixed_entry : b.byte() % 6;
    std::vector<Arg> args = valid(entry, b);
    mutate(args, b);
    if (too_big(entry, args)) return -1;  // not added to the corpus
    run(entry, args);
    return 0;
}
