#pragma once

#include <functional>
#include <initializer_list>
#include <stdexcept>

/// One of the things that somebody may do, and how many of all chances it has.
template <class Result> struct Chance {
    int chances;
    std::function<Result()> act;
};

/// Does the thing whose chances hold that number, counted from 0 through the list; the chances' sum must be above it.
template <class Result = void> Result drawn(int number, std::initializer_list<Chance<Result>> things)
{
    for (const auto& [chances, act] : things)
        if ((number -= chances) < 0) return act();
    throw std::out_of_range("there are fewer chances");
}
