// Recipes: lists of operations in JSON files.
#pragma once

#include "commands/operation.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ko::tool {

/// A short recipe, for help and manual.
extern const char* const recipeExample;

/// A recipe whose every key, type and number has been checked; the files that it names have not been read.
class Recipe {
public:
    /// Throws `Failure` where the file cannot be read and `UsageError`, with the path of what is wrong, where
    /// it holds no recipe.
    explicit Recipe(const std::string& file);

    /// Reads the files that the operations name and makes one filter of all of them.
    Filter prepare() const;

    /// True where each of the operations does.
    bool keepsColours() const;

    /// Ending of the results' names, with its dot.
    const std::string& ending() const { return m_ending; }

    /// Of JPEG and WebP files, where the recipe says so.
    std::optional<int> quality() const { return m_quality; }

private:
    struct Step {
        std::string name;
        std::unique_ptr<Settings> settings;
        Operation::Prepare prepare;
        bool keepsColours;
    };

    std::vector<Step> m_steps;
    std::string m_ending = ".tif";
    std::optional<int> m_quality;

    friend class RecipeReader;
};

}  // namespace ko::tool
