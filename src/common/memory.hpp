#pragma once
// Giving a per-call array's memory back. Assigning an empty brace list to a vector empties it
// but keeps its capacity; swapping with a fresh vector frees it.
#include <vector>

namespace pelix {

template <class T>
void release_memory(std::vector<T>& array) {
    std::vector<T>().swap(array);
}

}  // namespace pelix
