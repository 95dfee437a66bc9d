// linked_list.h - the list in which services hand over what they found.
#pragma once

#include <kxcoreemb/base.h>

#include <new>

/// A list of values in the order in which they were added. Nodes of removed values are kept for the next ones, so a
/// list that has reached its usual length allocates no more.
///
/// Ownership  the list owns its nodes, never what a pointer in it points to.
/// Failure    add() answers 0 when memory runs out and changes nothing.
/// Threads    one at a time.
template <class T>
class KxcLinkedList
{
public:
    /// A place in the list.
    struct Node
    {
        T item;     ///< the value
        Node* next; ///< the one added after it; null at the end
    };

    KxcLinkedList() : first(nullptr), last(nullptr), spare(nullptr), count(0) {}
    ~KxcLinkedList()
    {
        clear();
        while (spare)
            delete takeFrom(spare);
    }
    KxcLinkedList(const KxcLinkedList&) = delete;
    KxcLinkedList& operator=(const KxcLinkedList&) = delete;

    /// Appends a copy of the item. @return 1, or 0 when memory runs out
    KxcINT32 add(const T& item)
    {
        Node* node = spare ? takeFrom(spare) : new (std::nothrow) Node;
        if (!node)
            return 0;
        node->item = item;
        node->next = nullptr;
        (last ? last->next : first) = node;
        last = node;
        ++count;
        return 1;
    }
    /// Takes the oldest item out. @return 1, or 0 when the list is empty and `item` stays as it was
    KxcINT32 removeFirst(T& item)
    {
        if (!first)
            return 0;
        Node* node = takeFrom(first);
        if (!first)
            last = nullptr;
        --count;
        item = node->item;
        node->next = spare;
        spare = node;
        return 1;
    }
    /// Removes all items.
    void clear()
    {
        while (first)
        {
            T item;
            removeFirst(item);
        }
    }
    const Node* getFirst() const { return first; } ///< null when the list is empty; Node::next leads on
    KxcINT32 getCount() const { return count; }    ///< items in the list

private:
    static Node* takeFrom(Node*& chain)
    {
        Node* node = chain;
        chain = node->next;
        return node;
    }

    Node *first, *last, *spare;
    KxcINT32 count;
};
