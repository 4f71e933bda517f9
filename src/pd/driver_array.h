// Lists in the driver's memory, for the duration of a call.
#pragma once

#include <cstddef>

#include "vl_driver/system.h"

namespace vl_pd {

// Zeroed elements, freed at the end of the scope; get() is null if there was no memory.
template <class Element>
class DriverArray {
public:
    DriverArray() = default;
    explicit DriverArray(size_t count) noexcept {
        allocate(count);
    }
    DriverArray(const DriverArray&) = delete;
    DriverArray& operator=(const DriverArray&) = delete;
    ~DriverArray() {
        if (elements_ != nullptr) bf_sys_free(elements_);
    }

    // Call it once, for an array that is declared before another one and so freed after it.
    void allocate(size_t count) noexcept {
        elements_ = static_cast<Element*>(bf_sys_calloc(count, sizeof(Element)));
    }

    Element* get() const {
        return elements_;
    }
    Element& operator[](size_t i) const {
        return elements_[i];
    }

private:
    Element* elements_ = nullptr;
};

} // namespace vl_pd
