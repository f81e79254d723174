#include "refhost/ref_host.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int refhost_guarded_call(std::jmp_buf *env, HostEntry entry, HostKernel *kernel,
                                    HostValue *args, HostValue *result);

namespace refhost {

enum Kind { kInteger, kFloat, kName, kRTable, kNull };

struct Host::Object {
    int kind = kNull;
    int64_t integer = 0;
    double real = 0.0;
    std::string text;                 // a name's text
    HostValue value = 0;              // a name's assigned value (0: unassigned)
    RTableInfo info{};                // an rtable's settings
    std::vector<std::pair<int32_t, int32_t>> bounds;
    void *data = nullptr;             // exactly byte_size bytes
    size_t byte_size = 0;
    ~Object() { std::free(data); }
};

namespace {

thread_local Host *current = nullptr;

[[noreturn]] void misuse(const char *op, const char *what) {
    std::fprintf(stderr, "reference host: %s: %s\n", op, what);
    std::abort();
}

Host &host_for(const char *op) {
    if (!current) misuse(op, "called outside a host call");
    current->log.emplace_back(op);
    return *current;
}

size_t element_size(int32_t data_type) {
    switch (data_type) {
    case HW_DATATYPE_DOUBLE: return 8;
    case HW_DATATYPE_COMPLEX: return 16;
    case kInt32Type: return 4;
    default: return 8;
    }
}

// ---- the sixteen operations

HostValue op_assign(HostValue name, HostValue value) {
    Host &h = host_for("host_assign");
    h.expect(name, kName, "host_assign").value = value;
    return value;
}

// No object with a destructor may be live here: in longjmp mode this frame is left by a jump.
void op_error(const char *msg, ...) {
    Host &h = host_for("host_error");
    HostValue arg = 0;
    const bool has_arg = std::strstr(msg, "%1") != nullptr;
    if (has_arg) {
        va_list ap;
        va_start(ap, msg);
        arg = va_arg(ap, HostValue);
        va_end(ap);
    }
    h.raise(msg, has_arg, arg);
}

int op_is_integer(HostValue v) {
    Host &h = host_for("host_is_integer");
    if (v & 1) return 1;
    const Host::Object *o = h.find(v);
    return o && o->kind == kInteger;
}

int op_is_name(HostValue v) {
    Host &h = host_for("host_is_name");
    const Host::Object *o = h.find(v);
    return o && o->kind == kName;
}

int op_is_rtable(HostValue v) {
    Host &h = host_for("host_is_rtable");
    return h.is_rtable(v);
}

double op_to_double(HostValue v) {
    Host &h = host_for("host_to_double");
    if (v & 1) return static_cast<double>(v >> 1);
    const Host::Object *o = h.find(v);
    if (o && o->kind == kInteger) return static_cast<double>(o->integer);
    if (o && o->kind == kFloat) return o->real;
    misuse("host_to_double", "not a number");
}

int32_t op_to_int32(HostValue v) {
    Host &h = host_for("host_to_int32");
    const int64_t value = h.integer_value(v);
    if (value < INT32_MIN || value > INT32_MAX) misuse("host_to_int32", "integer outside 32 bits");
    return static_cast<int32_t>(value);
}

int op_arg_count(HostValue *args) {
    host_for("host_arg_count");
    return static_cast<int>(args[0]);
}

HostValue op_rtable_new(RTableInfo *settings, void *data, int32_t *bounds) {
    Host &h = host_for("host_rtable_new");
    RTableShape shape;
    shape.data_type = settings->data_type;
    shape.storage_type = settings->storage_type;
    shape.order_type = settings->order_type;
    shape.read_only = settings->read_only != 0;
    if (settings->num_dims < 0) misuse("host_rtable_new", "negative rank");
    for (int d = 0; d < settings->num_dims; ++d) shape.bounds.emplace_back(bounds[2 * d], bounds[2 * d + 1]);
    const HostValue rt = h.rtable(shape, data);
    if (!data) std::memset(h.data(rt), 0xA5, h.byte_size(rt));  // no promise of zeros
    h.created.push_back(rt);
    return rt;
}

void *op_rtable_data(HostValue rt) {
    Host &h = host_for("host_rtable_data");
    return h.expect(rt, kRTable, "host_rtable_data").data;
}

RTableInfo default_settings() {
    RTableInfo d{};
    d.data_type = 0;  // "anything"
    d.storage_type = HW_STORAGE_RECT;
    d.order_type = kFortranOrder;
    d.read_only = 0;
    d.num_dims = 0;
    d.host_word1[0] = 0x0101;  // host-private words: recognisable values
    d.host_word1[1] = 0x0202;
    d.host_word4[0] = 0x0404;
    d.host_word4[1] = 0x0505;
    d.host_word8 = 0x0808;
    for (int i = 0; i < 4; ++i) d.host_word10[i] = 0x0A0A + i;
    return d;
}

void op_rtable_defaults(RTableInfo *settings) {
    host_for("host_rtable_defaults");
    *settings = default_settings();
}

void op_rtable_info(RTableInfo *settings, HostValue rt) {
    Host &h = host_for("host_rtable_info");
    *settings = h.expect(rt, kRTable, "host_rtable_info").info;
}

const std::pair<int32_t, int32_t> &bound_of(Host &h, HostValue rt, int d, const char *op) {
    const Host::Object &o = h.expect(rt, kRTable, op);
    if (d < 1 || d > static_cast<int>(o.bounds.size())) misuse(op, "no such dimension");
    return o.bounds[d - 1];
}

int op_rtable_lower(HostValue rt, int d) {
    Host &h = host_for("host_rtable_lower");
    return bound_of(h, rt, d, "host_rtable_lower").first;
}

int op_rtable_upper(HostValue rt, int d) {
    Host &h = host_for("host_rtable_upper");
    return bound_of(h, rt, d, "host_rtable_upper").second;
}

HostValue op_from_int32(int32_t i) {
    host_for("host_from_int32");
    return Host::immediate(i);
}

HostValue op_null() {
    Host &h = host_for("host_null");
    return h.null();
}

template <typename Fn>
HostSlot slot(Fn fn) {
    return reinterpret_cast<HostSlot>(fn);
}

}  // namespace

ErrorMode error_mode_from_environment() {
    const char *mode = std::getenv("HW_HOST_ERROR_MODE");
    return mode && std::strcmp(mode, "longjmp") == 0 ? ErrorMode::LongJump : ErrorMode::Exception;
}

std::vector<std::pair<int32_t, int32_t>> dims(std::initializer_list<int32_t> lengths) {
    std::vector<std::pair<int32_t, int32_t>> b;
    for (int32_t n : lengths) b.emplace_back(1, n);
    return b;
}

Host::Host(ErrorMode mode) : mode_(mode) {
    kernel_.slot[HOST_SLOT_ASSIGN] = slot(&op_assign);
    kernel_.slot[HOST_SLOT_ERROR] = slot(&op_error);
    kernel_.slot[HOST_SLOT_IS_INTEGER] = slot(&op_is_integer);
    kernel_.slot[HOST_SLOT_IS_NAME] = slot(&op_is_name);
    kernel_.slot[HOST_SLOT_IS_RTABLE] = slot(&op_is_rtable);
    kernel_.slot[HOST_SLOT_TO_DOUBLE] = slot(&op_to_double);
    kernel_.slot[HOST_SLOT_TO_INT32] = slot(&op_to_int32);
    kernel_.slot[HOST_SLOT_ARG_COUNT] = slot(&op_arg_count);
    kernel_.slot[HOST_SLOT_RTABLE_NEW] = slot(&op_rtable_new);
    kernel_.slot[HOST_SLOT_RTABLE_DATA] = slot(&op_rtable_data);
    kernel_.slot[HOST_SLOT_RTABLE_DEFAULTS] = slot(&op_rtable_defaults);
    kernel_.slot[HOST_SLOT_RTABLE_INFO] = slot(&op_rtable_info);
    kernel_.slot[HOST_SLOT_RTABLE_LOWER] = slot(&op_rtable_lower);
    kernel_.slot[HOST_SLOT_RTABLE_UPPER] = slot(&op_rtable_upper);
    kernel_.slot[HOST_SLOT_FROM_INT32] = slot(&op_from_int32);
    kernel_.slot[HOST_SLOT_NULL] = slot(&op_null);
    auto o = std::make_unique<Object>();
    o->kind = kNull;
    null_ = add(std::move(o));
}

Host::~Host() = default;

HostValue Host::add(std::unique_ptr<Object> object) {
    const HostValue handle = reinterpret_cast<HostValue>(object.get());
    by_handle_[handle] = object.get();
    objects_.push_back(std::move(object));
    return handle;
}

Host::Object *Host::find(HostValue v) const {
    if (v & 1) return nullptr;
    const auto it = by_handle_.find(v);
    return it == by_handle_.end() ? nullptr : it->second;
}

Host::Object &Host::expect(HostValue v, int kind, const char *op) const {
    Object *o = find(v);
    if (!o || o->kind != kind) misuse(op, "argument of the wrong kind");
    return *o;
}

HostValue Host::integer(int64_t v) {
    return v >= -(int64_t{1} << 30) && v < (int64_t{1} << 30) ? immediate(v) : big_integer(v);
}

HostValue Host::immediate(int64_t v) {
    return static_cast<HostValue>((static_cast<uint64_t>(v) << 1) | 1u);
}

HostValue Host::big_integer(int64_t v) {
    auto o = std::make_unique<Object>();
    o->kind = kInteger;
    o->integer = v;
    return add(std::move(o));
}

HostValue Host::floating(double v) {
    auto o = std::make_unique<Object>();
    o->kind = kFloat;
    o->real = v;
    return add(std::move(o));
}

HostValue Host::name(const std::string &text) {
    for (const auto &o : objects_)
        if (o->kind == kName && o->text == text) return reinterpret_cast<HostValue>(o.get());
    auto o = std::make_unique<Object>();
    o->kind = kName;
    o->text = text;
    return add(std::move(o));
}

HostValue Host::null() { return null_; }

HostValue Host::rtable(const RTableShape &shape, const void *initial) {
    auto o = std::make_unique<Object>();
    o->kind = kRTable;
    o->info = default_settings();
    o->info.data_type = shape.data_type;
    o->info.storage_type = shape.storage_type;
    o->info.order_type = shape.order_type;
    o->info.read_only = shape.read_only ? 1 : 0;
    o->info.num_dims = static_cast<int32_t>(shape.bounds.size());
    o->bounds = shape.bounds;
    size_t count = 1;
    for (const auto &[lo, hi] : shape.bounds) count *= hi >= lo ? static_cast<size_t>(int64_t{hi} - lo + 1) : 0;
    o->byte_size = shape.unbacked ? 0 : count * element_size(shape.data_type);
    o->data = std::malloc(o->byte_size ? o->byte_size : 1);
    if (!o->data) throw std::bad_alloc();
    if (initial) std::memcpy(o->data, initial, o->byte_size);
    else std::memset(o->data, 0, o->byte_size);
    return add(std::move(o));
}

bool Host::is_rtable(HostValue v) const {
    const Object *o = find(v);
    return o && o->kind == kRTable;
}

void *Host::data(HostValue rt) { return expect(rt, kRTable, "data").data; }
size_t Host::byte_size(HostValue rt) const { return expect(rt, kRTable, "byte_size").byte_size; }
size_t Host::element_count(HostValue rt) const {
    const Object &o = expect(rt, kRTable, "element_count");
    return o.byte_size / element_size(o.info.data_type);
}
RTableInfo Host::info(HostValue rt) const { return expect(rt, kRTable, "info").info; }
std::vector<std::pair<int32_t, int32_t>> Host::bounds(HostValue rt) const { return expect(rt, kRTable, "bounds").bounds; }

std::vector<uint8_t> Host::bytes(HostValue rt) const {
    const Object &o = expect(rt, kRTable, "bytes");
    const auto *p = static_cast<const uint8_t *>(o.data);
    return std::vector<uint8_t>(p, p + o.byte_size);
}

bool Host::is_assigned(HostValue name) const { return expect(name, kName, "is_assigned").value != 0; }
HostValue Host::value_of(HostValue name) const { return expect(name, kName, "value_of").value; }

int64_t Host::integer_value(HostValue v) const {
    if (v & 1) return static_cast<int64_t>(v >> 1);
    return expect(v, kInteger, "integer_value").integer;
}

std::string Host::print(HostValue v) const {
    if (v & 1) return std::to_string(static_cast<int64_t>(v >> 1));
    const Object *o = find(v);
    if (!o) return "<unknown>";
    switch (o->kind) {
    case kInteger: return std::to_string(o->integer);
    case kFloat: {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.17g", o->real);
        return buf;
    }
    case kName: return o->text;
    case kRTable: return "rtable";
    default: return "NULL";
    }
}

std::string Host::compose(const char *msg, bool has_arg, HostValue arg) const {
    std::string text = msg;
    if (has_arg) text.replace(text.find("%1"), 2, print(arg));
    return text;
}

void Host::raise(const char *msg, bool has_arg, HostValue arg) {
    if (mode_ == ErrorMode::Exception) throw HostError(compose(msg, has_arg, arg));
    pending_error_ = compose(msg, has_arg, arg);
    leave_by_longjmp(this);
}

// Kept apart from raise so that no object with a destructor is live when the jump leaves.
void leave_by_longjmp(Host *h) { std::longjmp(*h->jump_, 1); }

CallResult Host::call(HostEntry entry, std::initializer_list<HostValue> args) {
    return call(entry, std::vector<HostValue>(args));
}

CallResult Host::call(HostEntry entry, const std::vector<HostValue> &args) {
    std::vector<HostValue> words;
    words.reserve(args.size() + 1);
    words.push_back(static_cast<HostValue>(args.size()));  // the header: the argument count
    words.insert(words.end(), args.begin(), args.end());
    outer_ = current;
    current = this;
    CallResult result;
    if (mode_ == ErrorMode::Exception) {
        try {
            result.value = entry(&kernel_, words.data());
            result.ok = true;
        } catch (const HostError &e) {
            result.error = e.what();
        } catch (...) {
            current = outer_;
            throw;
        }
    } else {
        std::jmp_buf env;
        jump_ = &env;
        HostValue value = 0;
        if (refhost_guarded_call(&env, entry, &kernel_, words.data(), &value) == 0) {
            result.value = value;
            result.ok = true;
        } else {
            result.error = std::move(pending_error_);
            pending_error_.clear();
        }
        jump_ = nullptr;
    }
    current = outer_;
    return result;
}

Library::Library(const char *path_or_name) : handle_(dlopen(path_or_name, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw std::runtime_error(std::string("cannot load ") + path_or_name + ": " + dlerror());
}

Library::~Library() { dlclose(handle_); }

HostEntry Library::entry(const char *name) const {
    void *p = symbol(name);
    if (!p) throw std::runtime_error(std::string("no entry point named ") + name);
    return reinterpret_cast<HostEntry>(p);
}

void *Library::symbol(const char *name) const { return dlsym(handle_, name); }

}  // namespace refhost
