// Calls of private members, for tests of what only later callers within the library reach.
#pragma once

namespace vellum::test {

/// Explicitly instantiated as <tt>template struct PrivateMember<Tag, &Class::member>;</tt>, where
/// access is not checked. \a Tag, of this namespace, declares <tt>friend Type member(Tag);</tt>,
/// which then returns the pointer to the member.
template <typename Tag, typename Tag::Type pointer>
struct PrivateMember
{
    friend typename Tag::Type member(Tag) { return pointer; }
};

} // namespace vellum::test
