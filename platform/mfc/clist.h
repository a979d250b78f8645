// CList and the lists made from it: elements in a chain, found by position.
#pragma once

#include "carray.h"

namespace kvtmfc {

struct __POSITION {};

/// A place in a list; null is none. It holds until its element is removed.
using POSITION = __POSITION*;

/// A list linked both ways. A null position, or the head of an empty list, throws `CInvalidArgException*`.
template <typename TYPE, typename ARG_TYPE = const TYPE&>
class CList : public CObject {
public:
    /// `blockSize` is taken for compatibility and has no effect.
    explicit CList([[maybe_unused]] INT_PTR blockSize = 10) {}
    ~CList() override { RemoveAll(); }

    INT_PTR GetCount() const { return m_count; }
    INT_PTR GetSize() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }

    TYPE& GetHead() { return Checked(m_head)->data; }
    const TYPE& GetHead() const { return Checked(m_head)->data; }
    TYPE& GetTail() { return Checked(m_tail)->data; }
    const TYPE& GetTail() const { return Checked(m_tail)->data; }
    TYPE RemoveHead() { return Taken(m_head); }
    TYPE RemoveTail() { return Taken(m_tail); }

    POSITION AddHead(ARG_TYPE element) { return Linked(nullptr, element, m_head); }
    POSITION AddTail(ARG_TYPE element) { return Linked(m_tail, element, nullptr); }
    /// Copies of another list's elements, in their order.
    void AddHead(const CList* list) {
        Require(list && list != this);
        for (const Node* node = list->m_tail; node; node = node->previous) {
            Linked(nullptr, node->data, m_head);
        }
    }
    void AddTail(const CList* list) {
        Require(list && list != this);
        for (const Node* node = list->m_head; node; node = node->next) {
            Linked(m_tail, node->data, nullptr);
        }
    }
    void RemoveAll() {
        while (m_head) {
            Unlink(m_head);
        }
    }

    POSITION GetHeadPosition() const { return ToPosition(m_head); }
    POSITION GetTailPosition() const { return ToPosition(m_tail); }
    /// The element at a position, which moves on to the next (previous) one, null at the end.
    TYPE& GetNext(POSITION& position) {
        Node* const node = Checked(ToNode(position));
        position = ToPosition(node->next);
        return node->data;
    }
    const TYPE& GetNext(POSITION& position) const { return const_cast<CList*>(this)->GetNext(position); }
    TYPE& GetPrev(POSITION& position) {
        Node* const node = Checked(ToNode(position));
        position = ToPosition(node->previous);
        return node->data;
    }
    const TYPE& GetPrev(POSITION& position) const { return const_cast<CList*>(this)->GetPrev(position); }
    TYPE& GetAt(POSITION position) { return Checked(ToNode(position))->data; }
    const TYPE& GetAt(POSITION position) const { return Checked(ToNode(position))->data; }
    void SetAt(POSITION position, ARG_TYPE element) { Checked(ToNode(position))->data = element; }
    void RemoveAt(POSITION position) { Unlink(Checked(ToNode(position))); }
    POSITION InsertBefore(POSITION position, ARG_TYPE element) {
        Node* const node = Checked(ToNode(position));
        return Linked(node->previous, element, node);
    }
    POSITION InsertAfter(POSITION position, ARG_TYPE element) {
        Node* const node = Checked(ToNode(position));
        return Linked(node, element, node->next);
    }

    /// The first equal element, behind `after` when it is given; null when there is none. O(n).
    POSITION Find(ARG_TYPE wanted, POSITION after = nullptr) const {
        Node* node = after ? ToNode(after)->next : m_head;
        while (node && !(node->data == wanted)) {
            node = node->next;
        }
        return ToPosition(node);
    }
    /// Null when the index is out of range. O(n).
    POSITION FindIndex(INT_PTR index) const {
        Node* node = index >= 0 && index < m_count ? m_head : nullptr;
        for (; node && index > 0; --index) {
            node = node->next;
        }
        return ToPosition(node);
    }

    /// The count, then the elements through SerializeElements. Loading adds to the end of the list.
    void Serialize(CArchive& ar) override {
        CObject::Serialize(ar);
        if (ar.IsStoring()) {
            ar.WriteCount(static_cast<DWORD_PTR>(m_count));
            for (Node* node = m_head; node; node = node->next) {
                SerializeElements(ar, &node->data, 1);
            }
            return;
        }
        for (DWORD_PTR left = ar.ReadCount(); left != 0; --left) {
            TYPE element{};
            SerializeElements(ar, &element, 1);
            AddTail(element);
        }
    }

private:
    struct Node {
        Node* previous;
        Node* next;
        TYPE data;
    };

    static void Require(bool condition) {
        if (!condition) {
            AfxThrowInvalidArgException();
        }
    }
    static Node* Checked(Node* node) {
        Require(node != nullptr);
        return node;
    }
    static POSITION ToPosition(Node* node) { return reinterpret_cast<POSITION>(node); }
    static Node* ToNode(POSITION position) { return reinterpret_cast<Node*>(position); }

    POSITION Linked(Node* previous, const TYPE& element, Node* next) {
        Node* node = nullptr;
        try {
            node = new Node{previous, next, element};
        } catch (const std::bad_alloc&) {
            AfxThrowMemoryException();
        }
        (previous ? previous->next : m_head) = node;
        (next ? next->previous : m_tail) = node;
        ++m_count;
        return ToPosition(node);
    }
    void Unlink(Node* node) {
        (node->previous ? node->previous->next : m_head) = node->next;
        (node->next ? node->next->previous : m_tail) = node->previous;
        --m_count;
        delete node;
    }
    TYPE Taken(Node* node) {
        TYPE element(std::move(Checked(node)->data));
        Unlink(node);
        return element;
    }

    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    INT_PTR m_count = 0;
};

class KVTFILE_API CStringList : public CList<CString, const CString&> {
    DECLARE_SERIAL(CStringList)

public:
    using CList::CList;
};

/// Pointers to objects of the caller's; storing goes through CArchive::WriteObject, and loaded objects are the caller's
/// to delete.
class KVTFILE_API CObList : public CList<CObject*, CObject*> {
    DECLARE_SERIAL(CObList)

public:
    using CList::CList;
    void Serialize(CArchive& ar) override;
};

}  // namespace kvtmfc
