#include "quendokit/model/words.hpp"

#include "quendokit/model/localized_string_internal.hpp"

namespace quendokit::words {

const std::string& minutes() {
    static const LocalizedString word("minutes", "'minute' plural");
    return word.get();
}

const std::string& hour() {
    // The stray quote at the end stands so in every table of translations.
    static const LocalizedString word("hour", "'hour' singular'");
    return word.get();
}

const std::string& hours() {
    static const LocalizedString word("hours", "'hour' plural");
    return word.get();
}

const std::string& morning() {
    static const LocalizedString word("Morning", "the word 'morning'");
    return word.get();
}

const std::string& afternoon() {
    static const LocalizedString word("Afternoon", "the word 'afternoon'");
    return word.get();
}

const std::string& evening() {
    static const LocalizedString word("Evening", "the word 'evening'");
    return word.get();
}

const std::string& later() {
    static const LocalizedString word("later", "the word 'later'");
    return word.get();
}

}  // namespace quendokit::words
