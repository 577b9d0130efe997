// SPDX-License-Identifier: MIT
#include <tallywick/ui/AmountText.h>

#include <algorithm>
#include <limits>

namespace tallywick::AmountText {

std::optional<std::int64_t> read(std::string_view text) {
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty()) return std::nullopt;
    // Gathered as a negative value, whose range reaches one further.
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        const int digit = c - '0';
        if (value < (lowest + digit) / 10) return std::nullopt;
        value = value * 10 - digit;
    }
    if (negative) return value;
    if (value == lowest) return std::nullopt;
    return -value;
}

std::optional<std::int64_t> read(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    return read(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

std::int64_t amountToSend(EntryType type, const QString& amountText) {
    if (type == EntryType::note) return 0;
    return std::max<std::int64_t>(read(amountText).value_or(0), 0);
}

bool canAdd(EntryType type, const QString& amountText, const QString& memo) {
    if (type == EntryType::note) return !memo.isEmpty();
    const auto amount = read(amountText);
    return amount && *amount > 0;
}

}  // namespace tallywick::AmountText
