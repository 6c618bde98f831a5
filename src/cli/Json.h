#pragma once

#include <QString>

#include <cstdio>

#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Kelvane {

/// A small JSON writer that keeps the order fields are written in (QJsonObject sorts them),
/// so the command line's documents read in the order an operator expects.
class JsonWriter
{
public:
    explicit JsonWriter(std::ostream& out)
        : m_out(out)
    {
    }

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(const char* name)
    {
        separate();
        m_out << '"' << name << "\": ";
        m_afterKey = true;
    }
    void value(const QString& text)
    {
        separate();
        m_out << quoted(text);
    }
    void value(long long number)
    {
        separate();
        m_out << number;
    }
    void value(bool flag)
    {
        separate();
        m_out << (flag ? "true" : "false");
    }
    void finish() { m_out << '\n'; }

    static std::string quoted(const QString& text);

private:
    void open(char bracket)
    {
        separate();
        m_out << bracket;
        m_first.push_back(true);
    }
    void close(char bracket)
    {
        const bool empty = m_first.back();
        m_first.pop_back();
        if (!empty)
            indent();
        m_out << bracket;
    }
    void separate()
    {
        if (m_afterKey) {
            m_afterKey = false;
            return;
        }
        if (m_first.empty())
            return;
        if (!m_first.back())
            m_out << ',';
        m_first.back() = false;
        indent();
    }
    void indent() { m_out << '\n' << std::string(m_first.size() * 2, ' '); }

    std::ostream& m_out;
    std::vector<bool> m_first;
    bool m_afterKey = false;
};

inline std::string JsonWriter::quoted(const QString& text)
{
    QString out;
    out.reserve(text.size() + 2);
    out += u'"';
    for (const QChar ch : text) {
        switch (ch.unicode()) {
        case u'"':
            out += QStringView(u"\\\"");
            break;
        case u'\\':
            out += QStringView(u"\\\\");
            break;
        case u'\n':
            out += QStringView(u"\\n");
            break;
        case u'\r':
            out += QStringView(u"\\r");
            break;
        case u'\t':
            out += QStringView(u"\\t");
            break;
        default:
            if (ch.unicode() < 0x20 || (ch.unicode() >= 0x7F && ch.unicode() < 0xA0)) {
                out += QStringView(u"\\u");
                out += QString::number(ch.unicode(), 16).rightJustified(4, u'0');
            } else {
                out += ch;
            }
        }
    }
    out += u'"';
    return out.toStdString();
}

/// The JSON documents of many areas as one list, or, for one area, its document alone: each
/// document is written by a function of its own and indented into the list.
class JsonList
{
public:
    JsonList(std::ostream& out, bool many)
        : m_out(out)
        , m_many(many)
    {
    }

    template<typename Write>
    void add(const Write& write)
    {
        if (!m_many) {
            write(m_out);
            return;
        }
        std::ostringstream document;
        write(document);
        std::string text = document.str();
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        m_out << (m_count++ == 0 ? "[\n  " : ",\n  ");
        for (const char ch : text) {
            m_out << ch;
            if (ch == '\n')
                m_out << "  ";
        }
    }

    void finish()
    {
        if (m_many)
            m_out << (m_count == 0 ? "[]\n" : "\n]\n");
    }

private:
    std::ostream& m_out;
    bool m_many;
    int m_count = 0;
};

} // namespace Kelvane
