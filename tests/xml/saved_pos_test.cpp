// Saved positions, element paths, and copies of documents.

#include <gtest/gtest.h>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

TEST(XmlSavedPos, EachKindOfPositionIsRestored) {
    XmlProbe xml = Parsed("<r><a><b/></a></r>");
    EXPECT_TRUE(xml.SavePos(_T("start")));
    xml.FindChildElem();
    EXPECT_TRUE(xml.SavePos(_T("child")));
    xml.IntoElem();
    EXPECT_TRUE(xml.SavePos(_T("main")));
    xml.ResetMainPos();
    EXPECT_TRUE(xml.SavePos(_T("parent")));
    xml.ResetPos();

    EXPECT_TRUE(xml.RestorePos(_T("child")));
    EXPECT_EQ(0, xml.m_iPosParent);
    EXPECT_EQ(1, xml.m_iPos);
    EXPECT_EQ(2, xml.m_iPosChild);
    EXPECT_EQ(1, xml.GetNodeType());
    EXPECT_TRUE(xml.RestorePos(_T("main")));
    EXPECT_EQ(1, xml.m_iPosParent);
    EXPECT_EQ(2, xml.m_iPos);
    EXPECT_EQ(0, xml.m_iPosChild);
    EXPECT_TRUE(xml.RestorePos(_T("parent")));
    EXPECT_EQ(1, xml.m_iPosParent);
    EXPECT_EQ(0, xml.m_iPos);
    EXPECT_EQ(0, xml.GetNodeType());
    EXPECT_TRUE(xml.RestorePos(_T("start")));
    EXPECT_EQ(0, xml.m_iPosParent);
    EXPECT_TRUE(xml.FindElem());
}

TEST(XmlSavedPos, RestoringClearsTheNodeCursor) {
    XmlProbe xml = Parsed("<r/><!--c-->");
    xml.FindElem();
    xml.SavePos(_T("r"));
    xml.FindNode();
    EXPECT_TRUE(xml.RestorePos(_T("r")));
    EXPECT_EQ(1, xml.GetNodeType());
    EXPECT_EQ(0, xml.m_nNodeLength);
}

TEST(XmlSavedPos, NullAndUnknownNamesAreRefused) {
    XmlProbe xml = Parsed("<r/>");
    EXPECT_FALSE(xml.SavePos(nullptr));
    EXPECT_FALSE(xml.RestorePos(nullptr));
    EXPECT_FALSE(xml.RestorePos(_T("x")));
    EXPECT_FALSE(xml.RestorePos(_T("x"), 3));
    EXPECT_FALSE(xml.SavePos(_T("x"), -1));
    EXPECT_FALSE(xml.RestorePos(_T("x"), -1));
    EXPECT_EQ(nullptr, xml.m_pSavedPosMaps) << "nothing is held while nothing was saved";
    EXPECT_TRUE(xml.SavePos(_T("")));
    EXPECT_TRUE(xml.RestorePos(_T("")));
    EXPECT_FALSE(xml.RestorePos(_T("x")));
}

TEST(XmlSavedPos, NamesAreCaseSensitive) {
    XmlProbe xml = Parsed("<r/>", 8);
    xml.SavePos(_T("Name"));
    EXPECT_FALSE(xml.RestorePos(_T("name")));
    EXPECT_TRUE(xml.RestorePos(_T("Name")));
}

TEST(XmlSavedPos, HashIsTheSumOfTheUnits) {
    EXPECT_EQ(0, XmlProbe::x_Hash(_T(""), 7));
    EXPECT_EQ((97 + 98) % 7, XmlProbe::x_Hash(_T("ab"), 7));
    EXPECT_EQ(0x5C42 % 31, XmlProbe::x_Hash(Wide("\xE5\xB1\x82"), 31));
}

TEST(XmlSavedPos, NamesThatShareABucketAreBothRestorable) {
    XmlProbe xml = Parsed("<r><a/></r>");
    EXPECT_EQ(XmlProbe::x_Hash(_T("ab"), 7), XmlProbe::x_Hash(_T("ba"), 7));
    xml.FindElem();
    xml.SavePos(_T("ab"));
    xml.FindChildElem();
    xml.SavePos(_T("ba"));
    EXPECT_TRUE(xml.RestorePos(_T("ab")));
    EXPECT_EQ(0, xml.m_iPosChild);
    EXPECT_TRUE(xml.RestorePos(_T("ba")));
    EXPECT_EQ(2, xml.m_iPosChild);
}

TEST(XmlSavedPos, TheLaterPositionOfANameIsKept) {
    XmlProbe xml = Parsed("<r><a/></r>");
    xml.FindElem();
    xml.SavePos(_T("x"));
    xml.FindChildElem();
    xml.SavePos(_T("x"));
    xml.ResetPos();
    EXPECT_TRUE(xml.RestorePos(_T("x")));
    EXPECT_EQ(2, xml.m_iPosChild);
    const XmlProbe::SavedPos* bucket = xml.m_pSavedPosMaps[0]->buckets[XmlProbe::x_Hash(_T("x"), 7)];
    EXPECT_EQ(int(XmlProbe::SavedPos::inUse | XmlProbe::SavedPos::isLast | XmlProbe::SavedPos::isChild),
              bucket[0].flags);
}

TEST(XmlSavedPos, BucketsGrowAndShrink) {
    std::string text = "<r>";
    for (int i = 0; i < 300; ++i)
        text += "<a/>";
    XmlProbe xml = Parsed(text + "</r>");
    EXPECT_TRUE(xml.SetMapSize(1));
    xml.FindElem();
    xml.IntoElem();
    CString name;
    for (int i = 0; i < 300; ++i) {
        xml.FindElem();
        name.Format(_T("p%d"), i);
        EXPECT_TRUE(xml.SavePos(name));
    }
    xml.ResetMainPos();
    for (int i = 0; i < 150; ++i) {
        xml.FindElem();
        EXPECT_TRUE(xml.RemoveElem());
        xml.FindElem();
    }
    for (int i = 0; i < 300; ++i) {
        name.Format(_T("p%d"), i);
        EXPECT_EQ(i % 2 == 1, xml.RestorePos(name)) << i;
        if (i % 2 == 1) {
            EXPECT_EQ(i + 2, xml.m_iPos);
        }
    }
    for (int i = 0; i < 300; ++i) {
        name.Format(_T("p%d"), i);
        xml.SavePos(name);
    }
    for (int i = 0; i < 300; ++i) {
        name.Format(_T("p%d"), i);
        EXPECT_TRUE(xml.RestorePos(name));
    }
}

TEST(XmlSavedPos, PositionsOfRemovedElementsAreDropped) {
    XmlProbe xml = Parsed("<r><a><x/></a><b/></r>");
    xml.FindChildElem();
    xml.IntoElem();
    xml.SavePos(_T("a"));
    xml.FindChildElem();
    xml.SavePos(_T("x"));
    xml.FindElem();
    xml.SavePos(_T("b"));
    xml.RestorePos(_T("a"));
    EXPECT_TRUE(xml.RemoveElem());
    EXPECT_FALSE(xml.RestorePos(_T("a")));
    EXPECT_FALSE(xml.RestorePos(_T("x"))) << "what was beneath is gone too";
    EXPECT_TRUE(xml.RestorePos(_T("b")));
    xml.OutOfElem();
    EXPECT_TRUE(xml.SetElemContent(_T("<c/>")));
    EXPECT_FALSE(xml.RestorePos(_T("b")));
}

TEST(XmlSavedPos, PositionsFollowEdits) {
    XmlProbe xml = Parsed("<r><a/><b/></r>");
    xml.FindChildElem();
    xml.FindChildElem();
    xml.SavePos(_T("b"));
    xml.ResetChildPos();
    xml.InsertChildElem(_T("first"), _T("long text"));
    EXPECT_TRUE(xml.RestorePos(_T("b")));
    EXPECT_EQ("b", Utf8(xml.GetChildTagName()));
}

TEST(XmlSavedPos, MapsAreSeparateAndKeepTheirSize) {
    XmlProbe xml = Parsed("<r/>");
    EXPECT_TRUE(xml.SetMapSize(31, 1));
    EXPECT_FALSE(xml.SetMapSize(13, 1));
    EXPECT_FALSE(xml.SetMapSize(13, 0)) << "made together with the higher one";
    EXPECT_FALSE(xml.SetMapSize(0, 5));
    EXPECT_FALSE(xml.SetMapSize(7, -1));
    EXPECT_EQ(31, xml.m_pSavedPosMaps[0]->size);
    EXPECT_EQ(31, xml.m_pSavedPosMaps[1]->size);
    EXPECT_EQ(nullptr, xml.m_pSavedPosMaps[2]);
    xml.FindElem();
    EXPECT_TRUE(xml.SavePos(_T("x"), 1));
    EXPECT_FALSE(xml.RestorePos(_T("x"), 0));
    EXPECT_TRUE(xml.SavePos(_T("x"), 4));
    EXPECT_EQ(7, xml.m_pSavedPosMaps[4]->size);
    EXPECT_EQ(31, xml.m_pSavedPosMaps[1]->size);
    EXPECT_TRUE(xml.RestorePos(_T("x"), 1));
}

TEST(XmlSavedPos, ManyMapsCostNoMoreThanOnePassOverThem) {
    // A pass for each of them would take hours.
    const int last = 500000;
    XmlProbe xml = Parsed("<r><a/><b/></r>");
    xml.FindChildElem();
    EXPECT_TRUE(xml.SavePos(_T("a"), last));
    xml.FindChildElem();
    EXPECT_TRUE(xml.SavePos(_T("b"), last));
    EXPECT_TRUE(xml.RemoveChildElem());
    XmlProbe copy = xml;
    for (XmlProbe* const document : {&xml, &copy}) {
        EXPECT_TRUE(document->RestorePos(_T("a"), last));
        EXPECT_FALSE(document->RestorePos(_T("b"), last));
        EXPECT_FALSE(document->RestorePos(_T("a"), last - 1));
        EXPECT_EQ(nullptr, document->m_pSavedPosMaps[last + 1]);
        document->SetDoc(_T("<r/>"));
        EXPECT_FALSE(document->RestorePos(_T("a"), last));
    }
}

TEST(XmlSavedPos, AParseDropsPositions) {
    XmlProbe xml = Parsed("<r/>");
    xml.FindElem();
    xml.SavePos(_T("x"));
    xml.SetDoc(_T("<r/>"));
    EXPECT_FALSE(xml.RestorePos(_T("x")));
    EXPECT_FALSE(xml.SetMapSize(3)) << "the map itself stays";
}

// --- Paths

TEST(XmlPath, RankCountsSiblingsOfTheSameName) {
    const XmlProbe xml = Parsed("<r><a/><b/><a><c/><c/></a><ab/></r>");
    EXPECT_EQ("", Utf8(xml.x_GetPath(0)));
    EXPECT_EQ("/r", Utf8(xml.x_GetPath(xml.At("0"))));
    EXPECT_EQ("/r/a", Utf8(xml.x_GetPath(xml.At("0/0"))));
    EXPECT_EQ("/r/b", Utf8(xml.x_GetPath(xml.At("0/1"))));
    EXPECT_EQ("/r/a[2]", Utf8(xml.x_GetPath(xml.At("0/2"))));
    EXPECT_EQ("/r/a[2]/c[2]", Utf8(xml.x_GetPath(xml.At("0/2/1"))));
    EXPECT_EQ("/r/ab", Utf8(xml.x_GetPath(xml.At("0/3"))));
}

// --- Copies

TEST(XmlCopy, CopyHasEverything) {
    XmlProbe xml = Parsed("<r><a><x/></a><b></r>", 8);
    xml.FindChildElem();
    xml.SavePos(_T("a"));
    xml.SetMapSize(3, 2);
    xml.FindChildElem();
    xml.SavePos(_T("b"), 2);
    const XmlProbe copy = xml;
    EXPECT_EQ(xml.Doc(), copy.Doc());
    EXPECT_EQ(xml.Error(), copy.Error());
    EXPECT_EQ(8, copy.GetDocFlags());
    EXPECT_EQ(xml.Records(), copy.Records());
    EXPECT_EQ("", copy.Disagreement());
    EXPECT_EQ(xml.m_iPos, copy.m_iPos);
    EXPECT_EQ(xml.m_iPosChild, copy.m_iPosChild);
    EXPECT_EQ(xml.m_iPosFree, copy.m_iPosFree);
    XmlProbe used = copy;
    EXPECT_TRUE(used.RestorePos(_T("b"), 2));
    EXPECT_EQ("b", Utf8(used.GetChildTagName()));
    EXPECT_TRUE(used.RestorePos(_T("a")));
    EXPECT_EQ("a", Utf8(used.GetChildTagName()));
    EXPECT_EQ(3, used.m_pSavedPosMaps[2]->size);
    EXPECT_EQ(7, used.m_pSavedPosMaps[0]->size);
}

TEST(XmlCopy, CopyAndOriginalAreIndependent) {
    XmlProbe xml = Parsed("<r><a/></r>");
    xml.FindChildElem();
    xml.SavePos(_T("a"));
    XmlProbe copy = xml;
    copy.RemoveChildElem();
    EXPECT_FALSE(copy.RestorePos(_T("a")));
    EXPECT_EQ("<r></r>", copy.Doc());
    EXPECT_EQ("<r><a/></r>", xml.Doc());
    EXPECT_TRUE(xml.RestorePos(_T("a")));
    EXPECT_EQ("", xml.Disagreement());
    EXPECT_EQ("", copy.Disagreement());
}

TEST(XmlCopy, AllocationIsTheNextFreeIndexButAtLeastEight) {
    XmlProbe small = XmlProbe(Parsed("<r/>"));
    EXPECT_EQ(8, small.m_nPosAllocated);
    XmlProbe xml = Parsed("<r>" + std::string(1000, ' ') + "<a/><a/><a/><a/><a/><a/><a/><a/><a/><a/></r>");
    const XmlProbe copy = xml;
    EXPECT_EQ(12, copy.m_nPosAllocated);
    EXPECT_EQ(1, copy.m_nSegmentCapacity);
    XmlProbe grown = copy;
    grown.FindElem();
    EXPECT_TRUE(grown.AddChildElem(_T("b")));
    EXPECT_EQ("", grown.Disagreement());
}

TEST(XmlCopy, LargeDocumentsAreCopiedSegmentBySegment) {
    std::string text = "<r>";
    for (int i = 0; i < 140000; ++i)
        text += "<a/>";
    XmlProbe xml = Parsed(text + "</r>");
    XmlProbe copy;
    copy.SetDoc(_T("<old><er/></old>"));
    copy.SetMapSize(3);
    copy = xml;
    EXPECT_EQ(140002, copy.m_nPosAllocated);
    EXPECT_EQ(3, copy.m_nSegmentCapacity);
    EXPECT_EQ(nullptr, copy.m_pSavedPosMaps);
    EXPECT_EQ("", copy.Disagreement());
    copy.FindElem();
    for (int i = 0; i < 70000; ++i)
        copy.AddChildElem(_T("b"), nullptr, 2);
    EXPECT_EQ("", copy.Disagreement());
    EXPECT_EQ("", xml.Disagreement());
}

TEST(XmlCopy, AssignmentToItselfChangesNothing) {
    XmlProbe xml = Parsed("<r><a/></r>");
    xml.FindChildElem();
    xml.SavePos(_T("a"));
    XmlProbe& same = xml;
    xml = same;
    EXPECT_EQ("<r><a/></r>", xml.Doc());
    EXPECT_TRUE(xml.RestorePos(_T("a")));
}
