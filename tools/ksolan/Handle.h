/**
 * @file    Handle.h
 * @brief   Owning handle of a platform object, and the tool's failure exception.
 */
#ifndef KSOLAN_TOOL_HANDLE_H
#define KSOLAN_TOOL_HANDLE_H

#include <kBasis/kObject.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace ksolan
{
/** A failure the user can act on; its message is printed as the tool's one-line error. */
class Error : public std::runtime_error
{
public:
    explicit Error(const std::string& message) : std::runtime_error(message) {}
};

/** Throws Error("what: status name") when status is not kOK. */
void Check(kStatus status, const std::string& what);

/** Owns one reference to a platform object; destroys it when it goes. */
class Handle
{
public:
    Handle() = default;
    explicit Handle(kObject object) : m_object(object) {}
    ~Handle() { kObject_Destroy(m_object); }
    Handle(Handle&& other) noexcept : m_object(std::exchange(other.m_object, kNULL)) {}
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    operator kObject() const { return m_object; }
    /** Slot for a constructor's output argument (the handle must be empty). */
    kObject* Out() { return &m_object; }

private:
    kObject m_object = kNULL;
};
} // namespace ksolan

#endif
