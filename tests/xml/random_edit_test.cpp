// Random edits: after every one of 100,000 operations the edited document is the same as a fresh parse of its text.
//
// The arguments keep the documents well formed. Edits that may break them (a comment text with "-->", a sub-document
// that does not parse, a start tag alone) are tested by their own rules beside this.

#include <gtest/gtest.h>

#include <random>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

class Editor {
public:
    Editor(const char* shape, unsigned seed) : m_random(seed), m_shape(shape), m_xml(Parsed(shape)) {}

    /// One move or edit; returns what it was.
    std::string Step() {
        if (m_xml.GetDoc().GetLength() > 1500)
            m_xml = Parsed(m_shape);
        Move();
        return Edit();
    }

    const XmlProbe& Document() const { return m_xml; }

private:
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    CString Name() {
        static const char* const names[] = {"a", "b", "item", "long-name.of:an_element", "\xE5\xB1\x82"};
        return Wide(names[Pick(5)]);
    }

    CString Text() {
        static const char* const texts[] = {"",
                                            "x",
                                            "1 < 2 & 3 > 2",
                                            "'quoted' \"text\"",
                                            " blanks ",
                                            "a]]>b",
                                            "\r\n",
                                            "\xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80",
                                            "&amp; &",
                                            "--",
                                            "a longer text that makes the tail move by more than a line"};
        return Wide(texts[Pick(11)]);
    }

    CString Markup() {
        static const char* const markups[] = {"<m/>", "<m>t</m>", " <m k='v'><n/><!--c--> t</m> ", "<m><n><o/></n></m>",
                                              "<?p?><m a=\"<\"/>"};
        return Wide(markups[Pick(5)]);
    }

    CString Content() {
        static const char* const contents[] = {
            "", "t", " <m/> ", "<m/>t<n><o>1</o></n>", "<!--c--><![CDATA[d]]>", "<m>&lt;</m>\r\n<m/>"};
        return Wide(contents[Pick(6)]);
    }

    void Move() {
        for (int moves = Pick(4); moves > 0; --moves) {
            switch (Pick(9)) {
                case 0:
                    m_xml.ResetPos();
                    break;
                case 1:
                    m_xml.ResetMainPos();
                    break;
                case 2:
                    m_xml.IntoElem();
                    break;
                case 3:
                    m_xml.OutOfElem();
                    break;
                case 4:
                case 5:
                    m_xml.FindElem();
                    break;
                case 6:
                    m_xml.FindChildElem();
                    break;
                case 7:
                    m_xml.FindNode(Pick(2) == 0 ? 0 : 2 | 4 | 8 | 16 | 32);
                    break;
                default:
                    m_xml.RestorePos(_T("saved"));
                    break;
            }
        }
        if (Pick(8) == 0)
            m_xml.SavePos(_T("saved"));
    }

    /// The document keeps one root: nothing is added or removed at its level but comments.
    std::string Edit() {
        const bool atTop = m_xml.m_iPosParent == 0;
        static const int flagChoices[] = {0, 0, 2, 4, 6, 1, 8, 0x100};
        const int flags = flagChoices[Pick(8)];
        const int kind = Pick(20);
        switch (kind) {
            case 0:
                return Named("AddElem", !atTop && m_xml.AddElem(Name(), Text(), flags));
            case 1:
                return Named("InsertElem", !atTop && m_xml.InsertElem(Name(), Text(), flags));
            case 2:
                return Named("AddChildElem", m_xml.AddChildElem(Name(), Text(), flags));
            case 3:
                return Named("InsertChildElem", m_xml.InsertChildElem(Name(), Pick(1000), flags));
            case 4:
                return Named("AddSubDoc", !atTop && m_xml.AddSubDoc(Markup()));
            case 5:
                return Named("InsertSubDoc", !atTop && m_xml.InsertSubDoc(Markup()));
            case 6:
                return Named("AddChildSubDoc", m_xml.AddChildSubDoc(Markup()));
            case 7:
                return Named("InsertChildSubDoc", m_xml.InsertChildSubDoc(Markup()));
            case 8:
                return Named("SetAttrib", m_xml.SetAttrib(Name(), Text(), flags & 8));
            case 9:
                return Named("SetChildAttrib", m_xml.SetChildAttrib(Name(), Pick(1000)));
            case 10:
                return Named("SetData", m_xml.GetNodeType() == 1 && m_xml.SetData(Text(), flags & 9));
            case 11:
                return Named("SetChildData", m_xml.SetChildData(Text(), flags & 9));
            case 12:
                return Named("SetElemContent", m_xml.SetElemContent(Content()));
            case 13:
                return Named("RemoveElem", !atTop && m_xml.RemoveElem());
            case 14:
                return Named("RemoveChildElem", m_xml.RemoveChildElem());
            case 15:
                return Named("RemoveNode", (!atTop || m_xml.GetNodeType() > 1) && m_xml.RemoveNode());
            case 16:
                return Named("AddNode", m_xml.AddNode(NodeType(atTop), NodeText()));
            case 17:
                return Named("InsertNode", m_xml.InsertNode(NodeType(atTop), NodeText()));
            case 18:
                return Named("SetData of a node", m_xml.GetNodeType() > 1 && m_xml.SetData(NodeText()));
            default:
                return Named("AddNode of an element", !atTop && m_xml.AddNode(1, Name()));
        }
    }

    static std::string Named(const char* name, bool done) { return std::string(name) + (done ? "" : " (refused)"); }

    int NodeType(bool atTop) {
        static const int types[] = {32, 16, 2, 8, 4};
        return types[Pick(atTop ? 2 : 5)];
    }

    CString NodeText() {
        static const char* const texts[] = {"t", "two words", "x<y&z", "\xE5\xB1\x82"};
        return Wide(texts[Pick(4)]);
    }

    std::mt19937 m_random;
    const char* m_shape;
    XmlProbe m_xml;
};

/// Runs so many operations that were not refused.
void RunEdits(const char* shape, unsigned seed, int operations) {
    Editor editor(shape, seed);
    XmlProbe fresh = editor.Document();
    for (int done = 0; done < operations;) {
        const std::string step = editor.Step();
        const XmlProbe& edited = editor.Document();
        const std::string wrong = edited.Disagreement();
        ASSERT_EQ("", wrong) << step << "\n" << fresh.Doc() << "\n" << edited.Doc();
        const CString before = fresh.GetDoc();
        // Characters, not the string itself, so that the next edit finds the text unshared.
        fresh.SetDoc(static_cast<LPCWSTR>(edited.GetDoc()));
        ASSERT_TRUE(fresh.IsWellFormed()) << step << "\n" << Utf8(before) << "\n" << edited.Doc() << fresh.Error();
        ASSERT_TRUE(fresh.IsSame(edited)) << step << "\n"
                                          << Utf8(before) << "\n"
                                          << edited.Doc() << "\n"
                                          << fresh.Records() << "\n"
                                          << edited.Records();
        done += step.find("refused") == std::string::npos;
    }
}

}  // namespace

TEST(XmlRandomEdits, EmptyRoot) {
    RunEdits("<r/>", 1, 20000);
}

TEST(XmlRandomEdits, DeepDocument) {
    RunEdits("<r><a><b><c><d><e><f>x</f></e></d></c></b></a></r>", 2, 20000);
}

TEST(XmlRandomEdits, WideDocument) {
    RunEdits("<r>\r\n<a/>\r\n<b>1</b>\r\n<a k='v'/>\r\n<c k=\"v\" l='w'>t</c>\r\n<a/>\r\n<b/>\r\n</r>\r\n", 3, 20000);
}

TEST(XmlRandomEdits, MixedContent) {
    RunEdits("<?xml version='1.0'?><!--top--><r>text<a/> <!--c--> more<b>x<c/>y</b><![CDATA[d]]><?p?> </r><!--end-->",
             4, 20000);
}

TEST(XmlRandomEdits, SettingsDocument) {
    RunEdits(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Root Version=\"1\">\r\n<Class Key=\"Display\">\r\n<Data "
        "Key=\"W\" "
        "Value=\"1\"/>\r\n<Data Key=\"H\" Value=\"2\"></Data>\r\n</Class>\r\n<Class Key=\"Empty\" />\r\n</Root>",
        5, 20000);
}
