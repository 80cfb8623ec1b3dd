/// The expression that `+` makes of texts: it remembers its operands and becomes a string at once, with one
/// allocation.
///
///     const UniString path = folder + UniChar('/') + name(0, 8) + ".txt";
///
/// It holds references: turn it into a string before its operands end, best in the expression that builds it.
/// `const char*` operands are in the default code page.
///
/// Threads: as for strings. Errors: `NullPointerException` and `NullReferenceException` for null operands,
/// when they are added. Allocation: none for up to ten operands; more are joined in between.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV {

class QV_EXPORT UniString::Concatenation {
public:
    template <class First, class Second>
    Concatenation(const First& first, const Second& second) : accumulator_(nullptr), count_(0)
    {
        Add(first);
        Add(second);
    }
    Concatenation(const Concatenation& other);
    Concatenation& operator=(const Concatenation& other);
    ~Concatenation()
    {
        if (accumulator_ != nullptr) [[unlikely]] {
            delete accumulator_;
        }
    }

    /// Adds an operand. Answers this very object.
    template <class Operand, class Self = Concatenation>
    Concatenation& operator+(const Operand& operand) requires requires(Self& self)
    {
        self.Add(operand);
    }
    {
        Add(operand);
        return *this;
    }

    void Add(UniChar c) { NewEntry(UnitOperand).unit = c; }
    template <std::same_as<UniCharRef> Ref>
    void Add(const Ref& c)
    {
        Add(c.GetChar());
    }
    void Add(const UniString& text) { AddReference(StringOperand, &text); }
    void Add(const ConstSubstring& text) { AddReference(ConstSubstringOperand, &text); }
    void Add(const Substring& text) { AddReference(SubstringOperand, &text); }
    void Add(const unsigned short* text) { AddPointer(UnitsOperand, text); }
    void Add(const char16_t* text) { AddPointer(UnitsOperand, text); }
    void Add(const char* text) { AddPointer(BytesOperand, text); }
    /// The other's operands; it must live as long as they.
    void Add(const Concatenation& other);

private:
    friend class UniString;

    enum Kind : UInt32 {
        UnitOperand = 0,
        StringOperand = 1,
        UnitsOperand = 2,
        BytesOperand = 3,
        ConstSubstringOperand = 4,
        SubstringOperand = 5,
    };

    struct Entry {
        Kind kind;
        union {
            const void* pointer;
            unsigned short unit;
        };
    };

    static constexpr UInt32 most = 10;

    struct Operands;

    Entry& NewEntry(Kind kind)
    {
        if (count_ == most) [[unlikely]] {
            Fold();
        }
        Entry& entry = entries_[count_++];
        entry.kind = kind;
        return entry;
    }
    /// Reads the address back through a volatile pointer, since a compiler may take for granted that a
    /// reference is not null.
    void AddReference(Kind kind, const void* address)
    {
        const void* volatile& pointer = const_cast<const void* volatile&>(NewEntry(kind).pointer);
        pointer = address;
        if (pointer == nullptr) [[unlikely]] {
            RefuseNullReference();
        }
    }
    void AddPointer(Kind kind, const void* text)
    {
        NewEntry(kind).pointer = text;
        if (text == nullptr) [[unlikely]] {
            RefuseNullPointer();
        }
    }

    void Fold();
    [[noreturn]] void RefuseNullReference();
    [[noreturn]] void RefuseNullPointer();
    bool RefersTo(const UniString& target) const;

    UniString* accumulator_; ///< what came before the entries, or null
    Entry entries_[most];
    UInt32 count_;
};

/// The classes that `+` joins, with one another and with pointers to text.
template <class T>
concept JoiningText = std::derived_from<T, UniString> || std::same_as<T, UniString::Substring> ||
    std::same_as<T, UniString::ConstSubstring> || std::same_as<T, UniChar> ||
    std::same_as<T, UniString::UniCharRef>;

template <class T>
concept JoinedText =
    !std::same_as<T, UniString::Concatenation> && requires(UniString::Concatenation & whole, const T& text)
{
    whole.Add(text);
};

template <JoinedText First, JoinedText Second>
requires(JoiningText<First> || JoiningText<Second>) inline UniString::Concatenation
operator+(const First& first, const Second& second)
{
    return UniString::Concatenation(first, second);
}

template <JoinedText First>
inline UniString::Concatenation operator+(const First& first, const UniString::Concatenation& second)
{
    return UniString::Concatenation(first, second);
}

} // namespace QV
