#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/ObjectState.hpp>

#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

namespace QV {

namespace {

class TextWriter {
public:
    explicit TextWriter(UniString& text) noexcept : text_(text) {}

    void Add(const ObjectState& state)
    {
        switch (state.GetKind()) {
        case ObjectState::EmptyKind:
            text_.Append("null");
            return;
        case ObjectState::BooleanKind:
            text_.Append(state.GetBoolean() ? "true" : "false");
            return;
        case ObjectState::IntegerKind:
            AddInteger(state.GetInteger());
            return;
        case ObjectState::RealKind:
            AddReal(state.GetReal());
            return;
        case ObjectState::StringKind:
            AddString(state.GetString());
            return;
        case ObjectState::ListKind:
            AddList(state);
            return;
        case ObjectState::ObjectKind:
            AddFields(state);
            return;
        }
    }

private:
    void AddInteger(Int64 value)
    {
        char digits[24];
        const auto end = std::to_chars(digits, std::end(digits), value);
        text_.Append(digits, static_cast<unsigned int>(end.ptr - digits));
    }

    void AddReal(double value)
    {
        char digits[40];
        char* end = std::to_chars(digits, std::end(digits), value).ptr;
        const auto isInteger = [&] { return std::strcspn(digits, ".enai") == std::strlen(digits); };
        *end = '\0';
        if (isInteger()) {
            std::memcpy(end, ".0", 2);
            end += 2;
        }
        text_.Append(digits, static_cast<unsigned int>(end - digits));
    }

    void AddString(const UniString& value)
    {
        text_.Append(UniChar('"'));
        const std::u16string_view units = value.GetView();
        for (USize i = 0; i < units.size(); ++i) {
            if (i + 1 < units.size() && IsPair(units[i], units[i + 1])) {
                text_.Append(units.substr(i, 2));
                ++i;
            } else {
                AddUnit(units[i]);
            }
        }
        text_.Append(UniChar('"'));
    }

    static bool IsPair(char16_t first, char16_t second)
    {
        return (first & 0xFC00) == 0xD800 && (second & 0xFC00) == 0xDC00;
    }

    void AddUnit(char16_t unit)
    {
        const char* const shortForm = unit == '"'    ? "\\\""
                                      : unit == '\\' ? "\\\\"
                                      : unit == '\n' ? "\\n"
                                      : unit == '\r' ? "\\r"
                                      : unit == '\t' ? "\\t"
                                                     : nullptr;
        if (shortForm != nullptr) {
            text_.Append(shortForm);
        } else if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0xD800 && unit < 0xE000)) {
            // Also half a character.
            static constexpr char digits[] = "0123456789abcdef";
            const char form[] = {'\\',
                                 'u',
                                 digits[unit >> 12],
                                 digits[unit >> 8 & 15],
                                 digits[unit >> 4 & 15],
                                 digits[unit & 15]};
            text_.Append(form, sizeof(form));
        } else {
            text_.Append(UniChar(unit));
        }
    }

    static bool HasContainer(const ObjectState& state)
    {
        for (unsigned int i = 0; i < state.GetCount(); ++i) {
            if (state.GetElement(i).GetKind() >= ObjectState::ListKind) {
                return true;
            }
        }
        return false;
    }

    /// A list of plain values stays on one line.
    void AddList(const ObjectState& list)
    {
        const bool lines = HasContainer(list);
        text_.Append(UniChar('['));
        ++level_;
        for (unsigned int i = 0; i < list.GetCount(); ++i) {
            text_.Append(i == 0 ? "" : lines ? "," : ", ");
            if (lines) {
                AddLineEnd();
            }
            Add(list.GetElement(i));
        }
        --level_;
        if (lines) {
            AddLineEnd();
        }
        text_.Append(UniChar(']'));
    }

    void AddFields(const ObjectState& object)
    {
        text_.Append(UniChar('{'));
        ++level_;
        for (unsigned int i = 0; i < object.GetCount(); ++i) {
            text_.Append(i == 0 ? "" : ",");
            AddLineEnd();
            AddString(object.GetFieldName(i));
            text_.Append(": ");
            Add(object.GetElement(i));
        }
        --level_;
        if (object.GetCount() != 0) {
            AddLineEnd();
        }
        text_.Append(UniChar('}'));
    }

    void AddLineEnd()
    {
        text_.Append(UniChar('\n'));
        text_.Pad(text_.GetLength() + 2 * level_, UniChar(' '));
    }

    UniString& text_;
    unsigned int level_ = 0;
};

} // namespace

UniString ObjectState::ToText() const
{
    UniString text;
    TextWriter(text).Add(*this);
    return text;
}

void ObjectState::Print(OChannel& oc) const
{
    char* const text = ToText().CopyUTF8();
    for (const char* c = text; *c != '\0'; ++c) {
        oc.Write(*c);
    }
    MemoryManager::Free(text);
}

} // namespace QV
