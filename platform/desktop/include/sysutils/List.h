// The platform's doubly linked list: a ring of nodes around a sentinel.
#pragma once

namespace android::sysutils {

template <typename T>
class List {
  struct Node {
    T value{};
    Node* previous = this;
    Node* next = this;
  };

 public:
  class iterator {
   public:
    iterator() = default;
    T& operator*() const { return node_->value; }
    T* operator->() const { return &node_->value; }
    iterator& operator++() {
      node_ = node_->next;
      return *this;
    }
    iterator operator++(int) {
      iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const iterator& other) const { return node_ == other.node_; }
    bool operator!=(const iterator& other) const { return node_ != other.node_; }

   private:
    friend class List;
    explicit iterator(Node* node) : node_(node) {}
    Node* node_ = nullptr;
  };

  List() = default;
  ~List() { clear(); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  bool empty() const { return sentinel_.next == &sentinel_; }
  iterator begin() { return iterator(sentinel_.next); }
  iterator end() { return iterator(&sentinel_); }

  // Appends a copy of the value at the tail.
  void push_back(const T& value) {
    Node* node = new Node{value, sentinel_.previous, &sentinel_};
    sentinel_.previous->next = node;
    sentinel_.previous = node;
  }

  // Removes one element; the position after it.
  iterator erase(iterator position) {
    Node* node = position.node_;
    Node* next = node->next;
    node->previous->next = next;
    next->previous = node->previous;
    delete node;
    return iterator(next);
  }

  void clear() {
    while (!empty()) erase(begin());
  }

 private:
  Node sentinel_;
};

}  // namespace android::sysutils
