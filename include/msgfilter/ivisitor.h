#pragma once

#include <msgfilter/msgfilter_export.h>

namespace zefa::msg_filter {

/// A walk over objects of type T, one call of visit() per object.
///
/// visit() returns true to go on with the next object and false to stop the walk.
/// Visitors are meant to live on the stack for the length of one walk, so the interface
/// has no virtual destructor; its destructor is protected, so a visitor cannot be
/// destroyed through this interface. Declare a concrete visitor `final`.
///
///     struct CountRules final : IVisitor<impl_detail::ZefaMsgParserRule> {
///         int count = 0;
///         bool visit(impl_detail::ZefaMsgParserRule*) override { ++count; return true; }
///     };
template <typename T> class MSGFILTER_EXPORT IVisitor {
public:
    virtual bool visit(T* object) = 0;

protected:
    IVisitor() = default;
    IVisitor(const IVisitor&) = default;
    IVisitor& operator=(const IVisitor&) = default;
    ~IVisitor() = default;
};

} // namespace zefa::msg_filter
