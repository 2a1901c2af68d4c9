#include "frame/heap.h"

#include <arko/core.h>

namespace zur {

private_heap* private_heap::create() {
  auto* heap = static_cast<private_heap*>(arko_serv_allocate(sizeof(private_heap), 128));
  if (heap) {
    heap->lock_ = 0;
    heap->blocks_ = {&heap->blocks_, &heap->blocks_};
  }
  return heap;
}

void* private_heap::allocate(std::size_t size) {
  auto* block = static_cast<link*>(arko_serv_allocate(sizeof(link) + size, 128));
  if (!block) return nullptr;
  lock();
  *block = {&blocks_, blocks_.next};
  block->next->previous = block;
  blocks_.next = block;
  unlock();
  return block + 1;
}

void private_heap::release(void* memory) {
  link* block = static_cast<link*>(memory) - 1;
  lock();
  block->previous->next = block->next;
  block->next->previous = block->previous;
  unlock();
  arko_serv_deallocate(block);
}

void private_heap::destroy() {
  for (link* block = blocks_.next; block != &blocks_;) {
    link* next = block->next;
    arko_serv_deallocate(block);
    block = next;
  }
  arko_serv_deallocate(this);
}

void private_heap::lock() { arko_serv_lock(&lock_); }

void private_heap::unlock() { arko_serv_unlock(&lock_); }

}  // namespace zur
