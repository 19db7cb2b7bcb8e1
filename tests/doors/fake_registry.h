#pragma once

#include "platform/registry.h"

#include <map>
#include <utility>

/// A registry in memory, which can be told to refuse.
class FakeRegistry : public platform::Registry {
public:
    std::optional<std::u16string> text(const std::u16string& branch, const std::u16string& name) override
    {
        const auto found = texts.find({branch, name});
        return found == texts.end() ? std::nullopt : std::optional(found->second);
    }
    void setText(const std::u16string& branch, const std::u16string& name, const std::u16string& text) override
    {
        if (refusing) throw platform::RegistryError("set value: error 5");
        texts[{branch, name}] = text;
    }

    std::map<std::pair<std::u16string, std::u16string>, std::u16string> texts;
    bool refusing = false;
};
