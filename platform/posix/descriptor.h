// The owner of a file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

// Closes the descriptor that it holds; holds none where its number is -1.
class Descriptor
{
public:
    explicit Descriptor(int number)
        : number_(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : number_(std::exchange(other.number_, -1))
    {
    }
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor()
    {
        if (number_ != -1)
            close(number_);
    }
    int get() const
    {
        return number_;
    }
    explicit operator bool() const
    {
        return number_ != -1;
    }

private:
    int number_;
};
