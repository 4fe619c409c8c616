#pragma once

#include <QString>
#include <optional>
#include <utility>

namespace pivotel {

// The outcome of a step that can fail: either success, or a reason a user can read.
class [[nodiscard]] Status {
  public:
    static Status success() { return Status(); }
    static Status failure(QString reason) { return Status(std::move(reason)); }

    bool ok() const { return !reason_.has_value(); }
    explicit operator bool() const { return ok(); }
    QString reason() const { return reason_.value_or(QString()); }

  private:
    Status() = default;
    explicit Status(QString reason) : reason_(std::move(reason)) {}
    std::optional<QString> reason_;
};

// A value, or the reason why there is none.
template <typename T> class [[nodiscard]] Result {
  public:
    Result(T value) : value_(std::move(value)) {}
    Result(Status failure) : failure_(std::move(failure)) {}

    bool ok() const { return value_.has_value(); }
    explicit operator bool() const { return ok(); }
    const T& value() const& { return *value_; }
    T& value() & { return *value_; }
    T&& value() && { return std::move(*value_); }
    const T* operator->() const { return &*value_; }
    const T& operator*() const { return *value_; }
    T value_or(T fallback) const { return ok() ? *value_ : std::move(fallback); }
    QString reason() const { return failure_.reason(); }
    Status status() const { return ok() ? Status::success() : failure_; }

  private:
    std::optional<T> value_;
    Status failure_ = Status::success();
};

} // namespace pivotel
