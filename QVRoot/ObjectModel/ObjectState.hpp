/// A typed tree of values: what an object's state looks like outside the object.
///
///     ObjectState wall;
///     wall.Set(u"height", ObjectState(2.75));
///     wall.Set(u"name", ObjectState(UniString(u"north")));
///
/// A value is empty, a boolean, an integer, a real, a text, a list of values or an object of named fields,
/// which keep the order in which they were set. Finding a field takes time in proportion to their number.
///
/// Threads: one at a time. Errors: `OutOfMemoryException`; an accessor for another kind than the value's
/// throws `IllegalTypeException`, one for an absent field or element `IllegalReferenceException`; nesting
/// deeper than `MaxDepth` throws `LimitViolationException`. Allocation: per field and element.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

namespace QV {

class ErrorStatus;
class IChannel;
class OChannel;

class QV_EXPORT ObjectState {
public:
    enum Kind { EmptyKind, BooleanKind, IntegerKind, RealKind, StringKind, ListKind, ObjectKind };

    /// How deep lists and objects can be nested. A value that is neither has depth 0.
    static constexpr unsigned int MaxDepth = 500;

    ObjectState() noexcept = default;
    explicit ObjectState(bool value) noexcept : kind_(BooleanKind), boolean_(value) {}
    explicit ObjectState(int value) noexcept : ObjectState(Int64{value}) {}
    explicit ObjectState(Int64 value) noexcept : kind_(IntegerKind), integer_(value) {}
    explicit ObjectState(double value) noexcept : kind_(RealKind), real_(value) {}
    explicit ObjectState(UniString value) noexcept
        : kind_(StringKind), string_(static_cast<UniString&&>(value))
    {
    }
    ObjectState(const ObjectState& other);
    /// Leaves the source empty.
    ObjectState(ObjectState&& other) noexcept;
    ObjectState& operator=(const ObjectState& other);
    ObjectState& operator=(ObjectState&& other) noexcept;
    ~ObjectState();

    static ObjectState MakeList();
    static ObjectState MakeObject();

    Kind GetKind() const noexcept { return kind_; }
    bool IsEmpty() const noexcept { return kind_ == EmptyKind; }

    bool GetBoolean() const;
    Int64 GetInteger() const;
    double GetReal() const;
    const UniString& GetString() const;

    /// Elements of a list or fields of an object; 0 for every other kind.
    unsigned int GetCount() const noexcept { return children_.GetCount(); }

    /// Appends to a list; an empty value becomes one.
    void Append(ObjectState element);
    const ObjectState& GetElement(unsigned int index) const;

    /// Sets a field of an object; an empty value becomes one.
    void Set(const UniString& name, ObjectState value);
    bool Has(const UniString& name) const;
    const ObjectState& Get(const UniString& name) const;
    /// Answers whether the field was there.
    bool Remove(const UniString& name);
    const UniString& GetFieldName(unsigned int index) const;

    /// Makes the value empty.
    void Clear() noexcept;

    /// @name Persistence
    /// A version, then the tree; docs/formats.md has the form under "ObjectState".
    /// @{
    /// On failure the value is empty. `ErrDataIntegrity` for what is no tree or is nested too deep,
    /// `ErrGeneral` for a newer version, `ErrMemoryFull`, the channel's error. Memory grows only as input
    /// arrives.
    QVErrCode Read(IChannel& ic);
    QVErrCode Write(OChannel& oc) const;
    /// @}

    /// @name Text
    /// For people to read: fields by name, lists in brackets, an element a line where it is a list or an
    /// object itself, texts quoted and escaped as in JSON, "null" for the empty value. Reals have a point, an
    /// exponent or no digits at all, and as many digits as tell them from all others.
    /// @{
    UniString ToText() const;
    /// The text in UTF-8, character by character.
    void Print(OChannel& oc) const;
    /// @}

    /// Same kind and same content; fields in the same order.
    friend bool operator==(const ObjectState& a, const ObjectState& b) { return a.IsEqual(b); }

    static void* operator new(std::size_t size);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept;
    static void operator delete(void*, void*) noexcept {}

    /// What a state must look like. The base accepts every state.
    class QV_EXPORT Schema {
    public:
        virtual ~Schema();
        /// Sets the flag, where one is given, to whether the state is acceptable.
        virtual ErrorStatus Validate(const ObjectState& state, bool* valid) const;
    };

private:
    bool IsEqual(const ObjectState& other) const;
    void RequireKind(Kind kind) const;
    void BecomeContainer(Kind kind);
    unsigned int FindField(const UniString& name) const;
    void AddDepth(const ObjectState& child);
    QVErrCode ReadTree(IChannel& ic, unsigned int depth);
    QVErrCode ReadScalar(IChannel& ic);
    QVErrCode ReadChildren(IChannel& ic, unsigned int depth);
    bool HasFieldTwice() const;
    void WriteTree(OChannel& oc) const;

    Kind kind_ = EmptyKind;
    UInt32 depth_ = 0; ///< at least as deep as it is nested; removing a field leaves it
    union {
        bool boolean_;
        Int64 integer_ = 0;
        double real_;
    };
    UniString string_;
    Array<ObjectState> children_; ///< elements or fields
    Array<UniString> names_;      ///< of the fields, in the same order
};

} // namespace QV
