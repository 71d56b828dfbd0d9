#pragma once

#include <cstddef>
#include <vector>

namespace corvella::sun {

// A square picture of one linear quantity.
class Plane
{
public:
    explicit Plane(int size)
        : m_size(size)
        , m_values(static_cast<std::size_t>(size) * static_cast<std::size_t>(size))
    {
    }

    int size() const { return m_size; }
    float *row(int y) { return m_values.data() + offset(y); }
    const float *row(int y) const { return m_values.data() + offset(y); }

private:
    std::size_t offset(int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size);
    }

    int m_size;
    std::vector<float> m_values;
};

} // namespace corvella::sun
