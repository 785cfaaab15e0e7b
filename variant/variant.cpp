// How a variant is stored.
#include "variant/variant.h"

#include <cstring>
#include <utility>

#include "variant/name_hash.h"

namespace {

// Null for nothing to copy, and when memory is exhausted.
qmsd::Bytes copy_of(std::span<const std::byte> bytes) {
  if (bytes.empty()) return nullptr;
  qmsd::Bytes copy = qmsd::platform::heap_array<std::byte>(bytes.size());
  if (copy) std::memcpy(copy.get(), bytes.data(), bytes.size());
  return copy;
}

}  // namespace

qm_variant::~qm_variant() {
  using qmsd::Kind;
  const Kind kind = this->kind();
  if (kind == Kind::object) {
    qmsd::platform::heap_free(value_.block.module);
    qmsd::platform::heap_free(codes_);
  } else if (kind != Kind::scalar && kind != Kind::empty) {
    qmsd::platform::heap_free(value_.block.bytes);
  }
  qmsd::drop_name(name_);
  qmsd::platform::heap_free(attributes_);
}

bool qm_variant::set_name(const qm_wchar* name) {
  if (name == nullptr) return true;
  const qmsd::WideView text(name);
  name_ = qmsd::make_name(text);
  name_hash_ = qmsd::name_hash(text);
  return name_ != nullptr;
}

std::int32_t qm_variant::item_count() const noexcept {
  switch (kind()) {
    case qmsd::Kind::empty:
    case qmsd::Kind::unknown:
      return 0;
    case qmsd::Kind::array:
      return value_.block.count;
    case qmsd::Kind::container:
      return size_;
    default:
      return 1;
  }
}

std::span<const std::byte> qm_variant::data() const noexcept {
  const auto size = static_cast<std::size_t>(size_);
  switch (kind()) {
    case qmsd::Kind::array:
      return {value_.block.bytes, size * static_cast<std::size_t>(value_.block.count)};
    case qmsd::Kind::wide_text:
      return {value_.block.bytes, size * sizeof(qm_wchar)};
    case qmsd::Kind::binary:
    case qmsd::Kind::text:
      return {value_.block.bytes, size};
    default:
      return {};
  }
}

std::span<std::byte> qm_variant::data() noexcept {
  const auto bytes = std::as_const(*this).data();
  return {value_.block.bytes, bytes.size()};
}

std::string_view qm_variant::narrow_text() const noexcept {
  return reinterpret_cast<const char*>(value_.block.bytes);
}

qmsd::WideView qm_variant::wide_text() const noexcept {
  return reinterpret_cast<const qm_wchar*>(value_.block.bytes);
}

qmsd::ObjectOwner qm_variant::object() const noexcept {
  return {static_cast<std::uint32_t>(value_.block.object),
          value_.block.module,
          {codes_, static_cast<std::size_t>(size_)}};
}

void qm_variant::become_scalar(std::int32_t type, std::int32_t size, std::int64_t bits) noexcept {
  type_ = type;
  size_ = size;
  value_.bits = bits;
}

void qm_variant::become_block(std::int32_t type, std::int32_t size, std::int32_t count,
                              qmsd::Bytes data) noexcept {
  type_ = type;
  size_ = size;
  value_.block.bytes = data.release();
  value_.block.count = count;
}

void qm_variant::become_object(std::int32_t size, std::uint32_t value, qmsd::OwnedText module,
                               qmsd::Bytes codes) noexcept {
  type_ = QM_TYPE_OBJECT;
  size_ = size;
  value_.block.object = value;
  value_.block.module = module.release();
  codes_ = reinterpret_cast<std::uint32_t*>(codes.release());
}

qmsd::platform::HeapOwner<qm_variant> qm_variant::copy_without_children() const {
  using qmsd::Kind;
  auto copy = qmsd::platform::heap_new<qm_variant>();
  if (!copy) return nullptr;
  copy->id_ = id_;
  copy->name_ = qmsd::share_name(name_);
  copy->name_hash_ = name_hash_;
  switch (kind()) {
    case Kind::scalar:
      copy->become_scalar(type_, size_, value_.bits);
      return copy;
    case Kind::container:
      copy->become_container();
      return copy;
    case Kind::object: {
      const auto owner = object();
      auto module = qmsd::copy_text(owner.module);
      auto codes = copy_of(std::as_bytes(owner.codes));
      if (!module || !codes) return nullptr;
      copy->become_object(size_, owner.value, std::move(module), std::move(codes));
      return copy;
    }
    case Kind::empty:
    case Kind::unknown:
      return copy;
    default: {
      auto bytes = copy_of(data());
      if (!bytes && !data().empty()) return nullptr;
      copy->become_block(type_, size_, value_.block.count, std::move(bytes));
      return copy;
    }
  }
}

void qm_variant::swap_value(qm_variant& other) noexcept {
  std::swap(type_, other.type_);
  std::swap(size_, other.size_);
  std::swap(value_, other.value_);
  std::swap(codes_, other.codes_);
}

void qm_variant::swap_identity(qm_variant& other) noexcept {
  std::swap(id_, other.id_);
  std::swap(name_, other.name_);
  std::swap(name_hash_, other.name_hash_);
}

std::int32_t qm_variant::add_reference() noexcept {
  const auto before =
      static_cast<std::uint32_t>(references_.fetch_add(1, std::memory_order_relaxed));
  return static_cast<std::int32_t>(before + 1);
}

void qm_variant::add_reference_if_alive() noexcept {
  std::int32_t count = references();
  while (count > 0 && !references_.compare_exchange_weak(count, count + 1)) {
  }
}

std::int32_t qm_variant::drop_reference() noexcept {
  std::int32_t count = references_.load(std::memory_order_acquire);
  if (count == 1) {
    // Nobody else can use the variant while this is the only reference, so a plain store will do.
    references_.store(0, std::memory_order_relaxed);
    return count;
  }
  while (count > 0 &&
         !references_.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel)) {
  }
  return count;
}
