// The probe: records, trees and what does not agree in them, as text.

#include "tests/xml/xml_probe.h"

#include <sstream>

namespace kvttest {

/// The next record in document order; 0 at the end.
int XmlProbe::Next(int position) const {
    if (x_Elem(position).child != 0)
        return x_Elem(position).child;
    while (position != 0 && x_Elem(position).next == 0)
        position = x_Elem(position).parent;
    return position != 0 ? x_Elem(position).next : 0;
}

std::string XmlProbe::Tree(int parent) const {
    std::string tree;
    int position = x_Elem(parent).child;
    int depth = 0;
    while (position != 0) {
        if (!tree.empty() && tree.back() != '[')
            tree += ' ';
        tree += Name(position);
        if (x_Elem(position).child != 0) {
            tree += '[';
            position = x_Elem(position).child;
            ++depth;
            continue;
        }
        while (depth > 0 && x_Elem(position).next == 0) {
            position = x_Elem(position).parent;
            tree += ']';
            --depth;
        }
        position = x_Elem(position).next;
    }
    return tree;
}

std::string XmlProbe::Records() const {
    std::ostringstream out;
    for (int i = Next(0); i != 0; i = Next(i)) {
        const ElemPos& element = x_Elem(i);
        out << Name(i) << ' ' << element.start << '+' << element.length << ' ' << element.StartTagLength() << '/'
            << element.EndTagLength() << ' ' << std::hex << (element.flags >> 20) << std::dec << '\n';
    }
    return out.str();
}

std::string XmlProbe::Disagreement() const {
    std::ostringstream wrong;
    const LPCWSTR text = m_strDoc;
    const int length = m_strDoc.GetLength();
    const auto say = [&](int i, const char* what) { wrong << what << " at record " << i << "; "; };
    if (x_Elem(0).start != 0 || x_Elem(0).length != length)
        say(0, "document record's length");
    if (text[length] != 0)
        say(0, "text not ended");
    for (int i = 0;;) {
        const ElemPos& element = x_Elem(i);
        // The sibling chain beneath: forward links, backward links, flags, order.
        int last = 0;
        int end = element.ContentStart();
        for (int child = element.child; child != 0; child = x_Elem(child).next) {
            const ElemPos& record = x_Elem(child);
            if (record.parent != i)
                say(child, "parent");
            if (last != 0 && record.previous != last)
                say(child, "previous");
            if (record.HasFlag(elemFirstChild) != (last == 0))
                say(child, "first-child flag");
            if (record.HasFlag(elemReleased))
                say(child, "released record in use");
            if (record.start < end)
                say(child, "order");
            if (i != 0 && !x_Elem(0).HasFlag(elemIllFormed) && record.Level() != ((element.Level() + 1) & 0xFFFF))
                say(child, "level");
            end = record.End();
            last = child;
        }
        if (last != 0 && x_Elem(element.child).previous != last)
            say(element.child, "last child");
        if (end > element.ContentEnd())
            say(i, "children beyond the content");
        if (i != 0) {
            if (text[element.start] != '<')
                say(i, "start");
            if (text[element.End() - 1] != '>' || text[element.ContentStart() - 1] != '>')
                say(i, "tag ends");
            if (element.EndTagLength() != 0 &&
                (text[element.ContentEnd()] != '<' || text[element.ContentEnd() + 1] != '/'))
                say(i, "end tag");
            if (element.EndTagLength() == 0 && element.length != element.StartTagLength())
                say(i, "element without end tag");
        }
        i = Next(i);
        if (i == 0)
            break;
    }
    return wrong.str();
}

bool XmlProbe::IsSame(const XmlProbe& other) const {
    int i = 0;
    int k = 0;
    do {
        const ElemPos& a = x_Elem(i);
        const ElemPos& b = other.x_Elem(k);
        if (a.start != b.start || a.length != b.length || a.tagLengths != b.tagLengths ||
            (a.child != 0) != (b.child != 0) || (i != 0 && a.flags >> 17 != b.flags >> 17))
            return false;
        i = Next(i);
        k = other.Next(k);
    } while (i != 0 && k != 0);
    return i == k;
}

int XmlProbe::At(const std::string& path) const {
    int position = 0;
    std::istringstream steps(path);
    std::string step;
    while (std::getline(steps, step, '/')) {
        position = x_Elem(position).child;
        for (int n = std::stoi(step); n > 0 && position != 0; --n)
            position = x_Elem(position).next;
    }
    return position;
}

}  // namespace kvttest
