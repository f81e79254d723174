// The project's reference host: an implementation of the sixteen host operations that
// behaves like a computer-algebra host, for the tests, the example and the benchmarks.
//
// It keeps rtables of any rank and bounds (storage allocated to the exact size, so that a
// sanitizer sees any access outside), names, immediate and big integers, floats and a null
// value; it logs every operation it is asked for, and it leaves host_error either by a C++
// exception or by longjmp, as a C host would.
#pragma once

#include <csetjmp>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hw.h"

namespace refhost {

enum class ErrorMode { Exception, LongJump };

// HW_HOST_ERROR_MODE=longjmp selects LongJump; anything else Exception.
ErrorMode error_mode_from_environment();

struct HostError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Data type codes the host knows: 6 double, 7 complex double, 2 32-bit integer.
// Storage codes: 4 rectangular, 1 sparse (stored densely here; only the code differs).
// Orders: 1 row-major, 2 column-major.
enum : int32_t { kInt32Type = 2, kSparseStorage = 1, kFortranOrder = 2 };

struct RTableShape {
    std::vector<std::pair<int32_t, int32_t>> bounds;  // (lower, upper) per dimension
    int32_t data_type = HW_DATATYPE_COMPLEX;
    int32_t storage_type = HW_STORAGE_RECT;
    int32_t order_type = HW_ORDER_C;
    bool read_only = false;
    // Bounds without storage behind them (the data block is empty), for rtables too large to
    // exist that an entry must refuse before it touches their data.
    bool unbacked = false;
};

// Bounds (1, n1), (1, n2), ... for the given lengths.
std::vector<std::pair<int32_t, int32_t>> dims(std::initializer_list<int32_t> lengths);

struct CallResult {
    bool ok = false;
    HostValue value = 0;
    std::string error;  // the message, "%1" replaced, when !ok
};

class Host;
[[noreturn]] void leave_by_longjmp(Host *host);

class Host {
  public:
    explicit Host(ErrorMode mode = error_mode_from_environment());
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    HostKernel *kernel() { return &kernel_; }
    ErrorMode mode() const { return mode_; }

    // ---- values
    HostValue integer(int64_t v);  // immediate when it fits 31 signed bits, else a big integer
    static HostValue immediate(int64_t v);  // the raw word 2v + 1
    HostValue big_integer(int64_t v);
    HostValue floating(double v);
    HostValue name(const std::string &text);
    HostValue null();
    HostValue rtable(const RTableShape &shape, const void *initial = nullptr);

    // ---- inspection
    bool is_rtable(HostValue v) const;
    void *data(HostValue rt);
    size_t byte_size(HostValue rt) const;
    size_t element_count(HostValue rt) const;
    RTableInfo info(HostValue rt) const;
    std::vector<std::pair<int32_t, int32_t>> bounds(HostValue rt) const;
    std::vector<uint8_t> bytes(HostValue rt) const;  // a copy of the data block
    bool is_assigned(HostValue name) const;
    HostValue value_of(HostValue name) const;
    int64_t integer_value(HostValue v) const;  // immediate or big integer
    std::string print(HostValue v) const;

    // Operation names in call order ("host_arg_count", "host_is_rtable", ...).
    std::vector<std::string> log;
    // Rtables made through host_rtable_new, in order.
    std::vector<HostValue> created;

    // Calls an entry point with these arguments, catching host_error in this host's mode.
    CallResult call(HostEntry entry, std::initializer_list<HostValue> args);
    CallResult call(HostEntry entry, const std::vector<HostValue> &args);

    // ---- used by the operations
    struct Object;
    Object *find(HostValue v) const;
    Object &expect(HostValue v, int kind, const char *op) const;
    HostValue add(std::unique_ptr<Object> object);
    // Leaves host_error by this host's mode; in longjmp mode no local with a destructor is
    // live in this frame when it jumps.
    [[noreturn]] void raise(const char *msg, bool has_arg, HostValue arg);
    std::string compose(const char *msg, bool has_arg, HostValue arg) const;

  private:
    ErrorMode mode_;
    HostKernel kernel_{};
    std::vector<std::unique_ptr<Object>> objects_;
    std::unordered_map<HostValue, Object *> by_handle_;
    HostValue null_ = 0;
    std::string pending_error_;
    std::jmp_buf *jump_ = nullptr;
    Host *outer_ = nullptr;  // the host that was current before this one's call
    friend void leave_by_longjmp(Host *);
};

// The library, opened with dlopen and searched by name as a host does.
class Library {
  public:
    explicit Library(const char *path_or_name);
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
    HostEntry entry(const char *name) const;  // throws std::runtime_error when absent
    void *symbol(const char *name) const;     // null when absent

  private:
    void *handle_;
};

}  // namespace refhost
