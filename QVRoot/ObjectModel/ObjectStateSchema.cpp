#include <QVRoot/ObjectModel/ObjectStateSchema.hpp>

#include <charconv>
#include <cmath>
#include <iterator>

namespace QV {

namespace {

const char* const kindNames[] = {"nothing", "a boolean", "an integer", "a real",
                                 "a text",  "a list",    "an object"};

ErrorStatus Refuse(const UniString& expected)
{
    UniString text = expected;
    text.Append(" is expected");
    return ErrorStatus(ErrDataIntegrity, text);
}

ErrorStatus Answer(ErrorStatus status, bool* valid)
{
    if (valid != nullptr) {
        *valid = status.IsOK();
    }
    return status;
}

template <class Number>
void AppendNumber(UniString& text, Number number)
{
    char digits[40];
    text.Append(digits,
                static_cast<unsigned int>(std::to_chars(digits, std::end(digits), number).ptr - digits));
}

template <class Number>
ErrorStatus RefuseNumber(const char* kind, Number least, Number most)
{
    UniString text(kind);
    text.Append(" from ");
    AppendNumber(text, least);
    text.Append(" to ");
    AppendNumber(text, most);
    return Refuse(text);
}

/// Puts the place in front of what was found there.
ErrorStatus AddPlace(UniString place, ErrorStatus status)
{
    if (status.HasErrorMessage()) {
        const UniString& text = status.GetErrorMessage();
        const bool isElement = !text.IsEmpty() && text[0] == UniChar('[');
        const unsigned int colon = text.FindFirst(u": ");
        const bool hasPlace = colon != UniString::Npos && text.FindFirst(UniChar(' ')) == colon + 1;
        place.Append(isElement ? "" : hasPlace ? "." : ": ");
        place.Append(text);
    }
    return ErrorStatus(status.GetErrorCode(), place);
}

} // namespace

ErrorStatus KindSchema::Validate(const ObjectState& state, bool* valid) const
{
    return Answer(state.GetKind() == kind_ ? ErrorStatus() : Refuse(kindNames[kind_]), valid);
}

ErrorStatus IntegerSchema::Validate(const ObjectState& state, bool* valid) const
{
    const bool fits = state.GetKind() == ObjectState::IntegerKind && state.GetInteger() >= least_ &&
                      state.GetInteger() <= most_;
    return Answer(fits ? ErrorStatus() : RefuseNumber("an integer", least_, most_), valid);
}

ErrorStatus RealSchema::Validate(const ObjectState& state, bool* valid) const
{
    double value = std::nan("");
    if (state.GetKind() == ObjectState::IntegerKind) {
        value = static_cast<double>(state.GetInteger());
    } else if (state.GetKind() == ObjectState::RealKind) {
        value = state.GetReal();
    }
    const bool fits = value >= least_ && value <= most_;
    return Answer(fits ? ErrorStatus() : RefuseNumber("a number", least_, most_), valid);
}

ErrorStatus ListSchema::Validate(const ObjectState& state, bool* valid) const
{
    if (state.GetKind() != ObjectState::ListKind) {
        return Answer(Refuse(kindNames[ObjectState::ListKind]), valid);
    }
    if (state.GetCount() < leastCount_ || state.GetCount() > mostCount_) {
        return Answer(RefuseNumber("a list of a length", leastCount_, mostCount_), valid);
    }
    for (UInt32 i = 0; i < state.GetCount(); ++i) {
        ErrorStatus status = element_.Validate(state.GetElement(i), nullptr);
        if (status.IsError()) {
            UniString place(u"[");
            AppendNumber(place, i);
            place.Append(UniChar(']'));
            return Answer(AddPlace(place, std::move(status)), valid);
        }
    }
    return Answer(ErrorStatus(), valid);
}

ObjectSchema& ObjectSchema::Require(const UniString& name, const Schema& schema)
{
    fields_.Append({name, &schema, true});
    return *this;
}

ObjectSchema& ObjectSchema::Allow(const UniString& name, const Schema& schema)
{
    fields_.Append({name, &schema, false});
    return *this;
}

ObjectSchema& ObjectSchema::AllowOthers() noexcept
{
    othersAllowed_ = true;
    return *this;
}

ErrorStatus ObjectSchema::Validate(const ObjectState& state, bool* valid) const
{
    if (state.GetKind() != ObjectState::ObjectKind) {
        return Answer(Refuse(kindNames[ObjectState::ObjectKind]), valid);
    }
    return Answer(CheckFields(state), valid);
}

ErrorStatus ObjectSchema::CheckFields(const ObjectState& state) const
{
    for (const Field& field : fields_) {
        if (field.isRequired && !state.Has(field.name)) {
            return AddPlace(field.name, ErrorStatus(ErrDataIntegrity, UniString(u"the field is missing")));
        }
    }
    for (UInt32 i = 0; i < state.GetCount(); ++i) {
        const UniString& name = state.GetFieldName(i);
        const Field* const field = Find(name);
        if (field == nullptr && !othersAllowed_) {
            return AddPlace(name, ErrorStatus(ErrDataIntegrity, UniString(u"the field is not known")));
        }
        ErrorStatus status =
            field == nullptr ? ErrorStatus() : field->schema->Validate(state.GetElement(i), nullptr);
        if (status.IsError()) {
            return AddPlace(name, std::move(status));
        }
    }
    return ErrorStatus();
}

const ObjectSchema::Field* ObjectSchema::Find(const UniString& name) const
{
    for (const Field& field : fields_) {
        if (field.name == name) {
            return &field;
        }
    }
    return nullptr;
}

} // namespace QV
