#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

// The one exception type thrown by list and field accessors when an index is out of range or a
// protocol line is too short. The event loop catches it once, logs it and abandons the operation
// in hand; state changed before the throw stays as it was.
class CInvalidArgException : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

// Element `index` of a random-access container, or CInvalidArgException when there is none.
template <typename Container> decltype(auto) ElementAt(Container& items, std::size_t index) {
    if (index >= items.size()) {
        throw CInvalidArgException("index " + std::to_string(index) + " is beyond " +
                                   std::to_string(items.size()) + " elements");
    }
    return items[index];
}
