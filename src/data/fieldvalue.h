// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>
#include <data/field.h>

class Table;

/// An owned value of any column type, absent or present: a Field that points into its own storage.
///
/// The in-memory library keeps values of up to 24 bytes and texts inside the object, so that a key of numbers
/// costs no allocation a value. Copies are independent. The column definition is that of the column the value
/// was made for, so the table must outlive the value; the row it was copied from need not.
///
/// **Threads.** One object must not be used by two threads at once.
///
/// **Cost.** In the in-memory library a copy copies the bytes of the value, or shares the text of a String,
/// and allocates only for more than 24 bytes.
class DATABASE_EXPORT FieldValue : public Field
{
public:
    /// A copy of the value and presence of \a field.
    explicit FieldValue(const Field &field);
    /// An absent value of the type of column \a column of \a table.
    FieldValue(Table *table, int column);
    FieldValue(const FieldValue &other) : Field(other)
    {
        if (other.isPlain())
            copyPlain(other);
        else
            copyOther(other);
    }
    FieldValue(FieldValue &&other) noexcept : Field(other) { take(other); }
    FieldValue &operator=(const FieldValue &other);
    FieldValue &operator=(FieldValue &&other) noexcept;
    virtual ~FieldValue() { release(); }

    /// Sets the value from the text that toText() gives for it: an exact inverse for every type, except that
    /// every NaN becomes the same quiet NaN.
    ///
    /// Never throws for a text: one that cannot be read as a number, or as the bytes of a Raw or Block value,
    /// makes the value absent, and one that is no date makes a DateTime hold 0 (no date).
    void fromText(const QStringView &text);

    /// The text form of the value:
    /// - numbers: plain digits, a Double in its shortest form that reads back the same ("-0", "nan", "inf");
    /// - texts: themselves; a text that begins with U+2400 gets one more U+2400 in front; a VarChar text
    ///   longer than the column is cut when it is read;
    /// - DateTime: the UTC reading as "yyyy.MM.dd HH:mm:ss.zzz" (in every time zone), empty for 0, and "@"
    ///   with the milliseconds for years outside 1 to 9999;
    /// - Raw and Block: the bytes in hexadecimal.
    ///
    /// An absent number, Raw or Block is the empty text. An absent text or DateTime is U+2400, since their
    /// empty text stands for a value.
    QString toText() const;

protected:
    /// An absent value of \a columnDef, which must outlive this object and its copies.
    explicit FieldValue(const ColumnDef *columnDef);

private:
    static constexpr int inlineSize = 24;

    bool isInline() const { return data == m_storage; }
    /// Whether the value is just bytes inside the object, as a number is.
    bool isPlain() const { return isInline() && def->type != FieldType::String; }
    void copyPlain(const FieldValue &other) noexcept
    {
        data = m_storage;
        nullFlags = &m_flags;
        nullMask = 1;
        m_flags = other.m_flags;
        std::memcpy(m_storage, other.m_storage, inlineSize);
    }
    void copyOther(const FieldValue &other);
    /// Takes over the value of \a other into raw storage and leaves \a other absent.
    void take(FieldValue &other) noexcept
    {
        if (other.isPlain()) {
            def = other.def;
            copyPlain(other);
            other.m_flags = 0;
        } else {
            takeOther(other);
        }
    }
    void takeOther(FieldValue &other) noexcept;
    /// Points the Field part at empty storage for \a columnDef.
    void initialise(const ColumnDef *columnDef);
    void copyValue(const Field &field);
    void release() noexcept
    {
        if (!isPlain())
            releaseStorage();
    }
    void releaseStorage() noexcept;

    unsigned char m_flags = 0;
    alignas(8) unsigned char m_storage[inlineSize];
};
