#include "cli/recipe.h"

#include "cli/failure.h"
#include "cli/quality.h"
#include "cli/registry.h"
#include "io/parts.h"
#include "io/source.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <regex>
#include <set>
#include <stdexcept>
#include <string_view>

namespace ko::tool {

const char* const recipeExample = R"({
    "operations": [
        {"op": "median", "radius": 2},
        {"op": "resize", "width": 800},
        {"op": "stretch-levels", "auto": 0.5}
    ],
    "output": {"format": "png"}
}
)";

namespace {

/// A value of JSON as settings take it; nothing for what they never are.
std::optional<Value> valueOf(const QJsonValue& json)
{
    if (json.isBool())
        return json.toBool();
    if (json.isDouble())
        return json.toDouble();
    if (json.isString())
        return json.toString().toStdString();
    if (!json.isArray())
        return std::nullopt;
    std::vector<double> numbers;
    for (const QJsonValue& element : json.toArray()) {
        if (!element.isDouble())
            return std::nullopt;
        numbers.push_back(element.toDouble());
    }
    return numbers;
}

/// Messages name options as the command line has them, recipes have them without their dashes.
std::string withoutDashes(const std::string& text)
{
    static const std::regex dashes("(^| )--(?=[a-z])");
    return std::regex_replace(text, dashes, "$1");
}

/// Line and column of a position in a text, counted from 1.
std::string placeOf(const QByteArray& text, int offset)
{
    const QByteArray before = text.left(offset);
    return "line " + std::to_string(before.count('\n') + 1) + ", column " +
           std::to_string(offset - before.lastIndexOf('\n'));
}

struct RepeatedKey {
    std::string name;
    int place;
};

/// The first key of a sound text of JSON that its object has already; Qt takes the value of the last one.
std::optional<RepeatedKey> repeatedKey(const QByteArray& text)
{
    const std::string_view all(text.constData(), static_cast<std::size_t>(text.size()));
    std::vector<std::set<QString>> objects;  // the keys of those that are open
    for (std::size_t at = 0; at < all.size(); ++at) {
        if (all[at] == '{')
            objects.emplace_back();
        else if (all[at] == '}')
            objects.pop_back();
        if (all[at] != '"')
            continue;
        const std::size_t start = at;
        while (all[++at] != '"')
            at += all[at] == '\\' ? 1 : 0;
        const std::size_t next = all.find_first_not_of(" \t\r\n", at + 1);
        if (next == std::string_view::npos || all[next] != ':')
            continue;
        const int place = static_cast<int>(start);
        const QByteArray list = '[' + text.mid(place, static_cast<int>(at - start + 1)) + ']';
        const QString key = QJsonDocument::fromJson(list).array().first().toString();
        if (!objects.back().insert(key).second)
            return RepeatedKey{key.toStdString(), place};
    }
    return {};
}

std::string enumerated(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text.empty() ? "none" : text;
}

}  // namespace

/// Fills a recipe from its file, with the path of the value being read for whoever has to mend it.
class RecipeReader {
public:
    RecipeReader(const std::string& file, Recipe& recipe) : m_file(file), m_recipe(recipe) {}

    void read()
    {
        QFile file(QString::fromStdString(sourceOf(m_file).path));
        if (!file.open(QIODevice::ReadOnly))
            throw Failure(m_file, "cannot be opened: " + file.errorString().toStdString());
        const QByteArray text = file.readAll();
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(text, &error);
        if (error.error != QJsonParseError::NoError)
            throw UsageError(m_file + ": is no JSON: " + error.errorString().toStdString() + ", " +
                             placeOf(text, error.offset));
        if (const std::optional<RepeatedKey> key = repeatedKey(text))
            refuse("", "the key " + key->name + " stands twice in one object, " + placeOf(text, key->place));
        if (!document.isObject())
            refuse("", "a recipe must be an object");
        const QJsonObject recipe = document.object();
        for (const QString& key : recipe.keys())
            if (key != "operations" && key != "output")
                refuse(key, "is unknown; known are operations, output");
        readOutput(recipe.value("output"));
        if (!recipe.value("operations").isArray())
            refuse("operations", "must be a list of operations");
        const QJsonArray operations = recipe.value("operations").toArray();
        for (int i = 0; i < operations.size(); ++i)
            readStep(operations[i], "operations[" + QString::number(i) + ']');
    }

private:
    [[noreturn]] void refuse(const QString& path, const std::string& trouble) const
    {
        throw UsageError(m_file + ": " + (path.isEmpty() ? "" : path.toStdString() + ": ") + trouble);
    }

    void readOutput(const QJsonValue& output)
    {
        if (output.isUndefined())
            return;
        if (!output.isObject())
            refuse("output", "must be an object");
        const QJsonObject object = output.toObject();
        for (const QString& key : object.keys())
            if (key != "format" && key != "quality")
                refuse("output." + key, "is unknown; known are format, quality");
        readFormat(object.value("format"));
        readQuality(object.value("quality"));
    }

    void readFormat(const QJsonValue& value)
    {
        if (value.isUndefined())
            return;
        const std::string format = value.toString().toStdString();
        const bool isEnding = !format.empty() && std::ranges::all_of(format, [](unsigned char c) {
            return std::isalnum(c) != 0;
        });
        if (!isEnding)
            refuse("output.format", "must be the ending of a picture format, such as \"png\"");
        m_recipe.m_ending = '.' + format;
    }

    void readQuality(const QJsonValue& value)
    {
        if (value.isUndefined())
            return;
        const int quality = value.toInt();  // 0 for what is no whole number
        if (quality < lowestQuality || quality > highestQuality)
            refuse("output.quality", "must be a whole number of 1 to 100, for JPEG and WebP files");
        m_recipe.m_quality = quality;
    }

    void readStep(const QJsonValue& json, const QString& path)
    {
        if (!json.isObject())
            refuse(path, "must be an object");
        const QJsonObject object = json.toObject();
        const std::string name = object.value("op").toString().toStdString();
        const Operation* const operation = findOperation(name);
        if (!operation)
            refuse(path + ".op", "must be one of " + enumerated(operationNames()));
        Recipe::Step step{name, std::make_unique<Settings>(), nullptr, operation->keepsColours};
        step.prepare = operation->setUp(*step.settings);
        for (const QString& key : object.keys())
            if (key != "op")
                readSetting(*step.settings, name, key, object.value(key), path + '.' + key);
        for (const Setting& setting : step.settings->all())
            if (setting.isRequired && !object.contains(QString::fromStdString(setting.name)))
                refuse(path + '.' + QString::fromStdString(setting.name),
                       "is missing, must be " + setting.demand);
        try {
            step.settings->verify();
        } catch (const UsageError& error) {
            refuse(path, withoutDashes(error.what()));
        }
        m_recipe.m_steps.push_back(std::move(step));
    }

    void readSetting(const Settings& settings, const std::string& operation, const QString& key,
                     const QJsonValue& json, const QString& path)
    {
        const auto& all = settings.all();
        const auto setting = std::ranges::find(all, key.toStdString(), &Setting::name);
        if (setting == all.end()) {
            std::vector<std::string> names;
            for (const Setting& known : all)
                names.push_back(known.name);
            refuse(path, "is unknown; known to " + operation + " are " + enumerated(names));
        }
        std::optional<Value> value = valueOf(json);
        if (value && setting->kind == Setting::Kind::File)
            if (auto* const file = std::get_if<std::string>(&*value); file && !file->empty())
                *file = (std::filesystem::path(m_file).parent_path() / *file).string();
        if (!value || !setting->take(*value))
            refuse(path, "must be " + setting->demand);
    }

    std::string m_file;
    Recipe& m_recipe;
};

Recipe::Recipe(const std::string& file)
{
    RecipeReader(file, *this).read();
}

bool Recipe::keepsColours() const
{
    return std::ranges::all_of(m_steps, &Step::keepsColours);
}

Filter Recipe::prepare() const
{
    struct Part {
        std::string place;
        Filter filter;
    };
    std::vector<Part> parts;
    for (std::size_t i = 0; i < m_steps.size(); ++i)
        parts.push_back(
            {"operations[" + std::to_string(i) + "] (" + m_steps[i].name + "): ", m_steps[i].prepare()});
    return [parts](const Image& picture, Frame& frame) {
        std::optional<Image> result;
        for (const Part& part : parts) {
            try {
                result = part.filter(result ? *result : picture, frame);
            } catch (const Failure&) {
                throw;
            } catch (const std::runtime_error& error) {
                throw std::runtime_error(part.place + withoutDashes(error.what()));
            }
        }
        return result ? std::move(*result) : copyOf(picture);
    };
}

}  // namespace ko::tool
