#include "trend/trend_store.h"

#include "core/data_types.h"
#include "history/point_time.h"

#include <nlohmann/json.hpp>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <set>

// Point times carry their microseconds on tick charts, and on any other chart only when they are
// not zero: a bar's time then reads as the export writes it, and a tick's as the tick it is. Both
// forms are read on every chart.

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFileVersion = 1;
// Far more than any trader draws (a trendline takes about 250 bytes); a larger text is no file
// this program wrote.
constexpr std::size_t kMaxText = 8u * 1024u * 1024u;
// The file's own structure is six levels deep (file, charts, chart, trendlines, trendline,
// points, point).
constexpr int kMaxDepth = 8;

// Why a text is refused; thrown inside this file only and caught by Read.
struct SRefusal {
    std::string what;
};

[[noreturn]] void Refuse(const std::string& where, const std::string& what) {
    throw SRefusal{where.empty() ? what : where + ": " + what};
}

// The text of `value` as the message shows it, cut to a readable length.
std::string Shown(const Json& value) {
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    constexpr std::size_t kShown = 40;
    if (text.size() > kShown) {
        text = text.substr(0, kShown) + "...";
    }
    return text;
}

// The offset of the first bracket nested deeper than kMaxDepth, or npos. Brackets inside
// strings do not count; whether the text is JSON at all is the parser's to say.
std::size_t TooDeepAt(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (inString) {
            if (c == '\\') {
                ++at;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxDepth) {
                return at;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return std::string_view::npos;
}

const Json& Field(const Json& object, const std::string& where, const char* name) {
    const auto found = object.find(name);
    if (found == object.end()) {
        Refuse(where, std::string("\"") + name + "\" is missing");
    }
    return *found;
}

const Json& ObjectAt(const Json& value, const std::string& where) {
    if (!value.is_object()) {
        Refuse(where, Shown(value) + " is not an object");
    }
    return value;
}

const Json& ArrayField(const Json& object, const std::string& where, const char* name) {
    const Json& value = Field(object, where, name);
    if (!value.is_array()) {
        Refuse(where + "." + name, Shown(value) + " is not a list");
    }
    return value;
}

std::string TextField(const Json& object, const std::string& where, const char* name) {
    const Json& value = Field(object, where, name);
    if (!value.is_string()) {
        Refuse(where + "." + name, Shown(value) + " is not a text");
    }
    return value.get<std::string>();
}

std::string Indexed(const std::string& where, const char* name, std::size_t index) {
    return where + (where.empty() ? "" : ".") + name + "[" + std::to_string(index) + "]";
}

std::pair<SPointTime, double> ReadPoint(const Json& value, const std::string& where) {
    ObjectAt(value, where);
    const std::string timeText = TextField(value, where, "time");
    const std::optional<SPointTime> time = ParsePointTime(timeText);
    if (!time) {
        Refuse(where + ".time", Shown(timeText) + " is not a time");
    }
    const Json& price = Field(value, where, "price");
    if (!price.is_number() || !std::isfinite(price.get<double>())) {
        Refuse(where + ".price", Shown(price) + " is not a price");
    }
    return {*time, price.get<double>()};
}

bool BoolField(const Json& object, const std::string& where, const char* name) {
    const Json& value = Field(object, where, name);
    if (!value.is_boolean()) {
        Refuse(where + "." + name, Shown(value) + " is not true or false");
    }
    return value.get<bool>();
}

SAlertSetting ReadAlert(const Json& object, const std::string& where) {
    SAlertSetting setting;
    const std::string name = TextField(object, where, "direction");
    const std::optional<EAlertDirection> direction = FindAlertDirection(name);
    if (!direction) {
        Refuse(where + ".direction", Shown(name) + " is no alert direction");
    }
    setting.direction = *direction;
    setting.fired = BoolField(object, where, "fired");
    if (const auto id = object.find("id"); id != object.end()) {
        if (!id->is_number_integer() || id->get<std::int64_t>() <= 0 ||
            id->get<std::int64_t>() > std::numeric_limits<int>::max()) {
            Refuse(where + ".id", Shown(*id) + " is not a positive whole number");
        }
        setting.id = static_cast<int>(id->get<std::int64_t>());
    }
    return setting;
}

Json AlertJson(const SAlertSetting& setting) {
    Json json = {{"direction", AlertDirectionName(setting.direction)}, {"fired", setting.fired}};
    if (setting.id > 0) {
        json["id"] = setting.id;
    }
    return json;
}

SLevelAlert ReadLevelAlert(const Json& value, const std::string& where) {
    ObjectAt(value, where);
    SLevelAlert alert;
    alert.symbol = TextField(value, where, "symbol");
    if (alert.symbol.empty()) {
        Refuse(where + ".symbol", "the symbol is empty");
    }
    const Json& price = Field(value, where, "price");
    if (!price.is_number() || !std::isfinite(price.get<double>())) {
        Refuse(where + ".price", Shown(price) + " is not a price");
    }
    alert.price = price.get<double>();
    alert.setting = ReadAlert(value, where);
    return alert;
}

STrendRecord ReadRecord(const Json& value, const std::string& where) {
    ObjectAt(value, where);
    const std::string kindName = TextField(value, where, "kind");
    const int kind = FindTrendKind(kindName);
    if (kind < 0) {
        Refuse(where + ".kind", Shown(kindName) + " is no trendline kind");
    }
    STrendRecord record;
    record.kind = static_cast<ETrendKind>(kind);
    const Json& points = ArrayField(value, where, "points");
    const int clicks = TrendKindInfo(record.kind).clicks;
    if (points.size() != static_cast<std::size_t>(clicks)) {
        Refuse(where + ".points", std::to_string(points.size()) + " points where a " +
                                      TrendKindInfo(record.kind).name + " trendline has " +
                                      std::to_string(clicks));
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        record.points.push_back(ReadPoint(points[i], Indexed(where, "points", i)));
    }
    if (value.contains("scale")) {
        const std::string scaleName = TextField(value, where, "scale");
        const std::optional<EPriceScale> scale = ParsePriceScale(scaleName);
        if (!scale) {
            Refuse(where + ".scale", Shown(scaleName) + " is no price scale");
        }
        record.scale = *scale;
    }
    if (const auto alert = value.find("alert"); alert != value.end()) {
        if (record.kind != ETrendKind::Horizontal && record.kind != ETrendKind::Sloping) {
            Refuse(where + ".alert", std::string("a ") + TrendKindInfo(record.kind).name +
                                         " trendline takes no alert");
        }
        record.alert = ReadAlert(ObjectAt(*alert, where + ".alert"), where + ".alert");
    }
    return record;
}

// A record Write can put into the file so that Read gives it back.
bool Storable(const STrendRecord& record) {
    const int kind = static_cast<int>(record.kind);
    if (kind < 0 || kind >= kTrendKindCount ||
        record.points.size() != static_cast<std::size_t>(TrendKindInfo(record.kind).clicks)) {
        return false;
    }
    for (const auto& [time, price] : record.points) {
        if (!time.time.IsValid() || time.microseconds < 0 || time.microseconds > 999'999 ||
            !std::isfinite(price)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool STrendRecord::operator==(const STrendRecord& other) const {
    if (kind != other.kind || scale != other.scale || points.size() != other.points.size() ||
        alert != other.alert) {
        return false;
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& [time, price] = points[i];
        const auto& [otherTime, otherPrice] = other.points[i];
        if (!(time.time == otherTime.time) || time.microseconds != otherTime.microseconds ||
            price != otherPrice) {
            return false;
        }
    }
    return true;
}

const CTrendStore::Records& CTrendStore::Find(const STrendChartKey& chart) const {
    static const Records kNone;
    const auto found = m_charts.find(chart);
    return found == m_charts.end() ? kNone : found->second;
}

void CTrendStore::Set(const STrendChartKey& chart, Records records) {
    if (records.empty()) {
        m_charts.erase(chart);
    } else {
        m_charts[chart] = std::move(records);
        NumberAlerts();
    }
}

int CTrendStore::AddLevelAlert(SLevelAlert alert) {
    alert.setting.id = 0;
    m_levels.push_back(std::move(alert));
    NumberAlerts();
    return m_levels.back().setting.id;
}

int CTrendStore::TakeAlertId() {
    NumberAlerts();
    return ++m_lastAlertId;
}

void CTrendStore::NumberAlerts() {
    std::vector<SAlertSetting*> settings;
    for (SLevelAlert& level : m_levels) {
        settings.push_back(&level.setting);
    }
    for (auto& [key, records] : m_charts) {
        for (STrendRecord& record : records) {
            if (record.alert) {
                settings.push_back(&*record.alert);
            }
        }
    }
    for (const SAlertSetting* setting : settings) {
        m_lastAlertId = std::max(m_lastAlertId, setting->id);
    }
    std::set<int> taken;
    for (SAlertSetting* setting : settings) {
        if (setting->id <= 0 || !taken.insert(setting->id).second) {
            setting->id = ++m_lastAlertId;
            taken.insert(setting->id);
        }
    }
}

std::string CTrendStore::Write() const {
    Json charts = Json::array();
    for (const auto& [key, records] : m_charts) {
        if (key.symbol.empty() || key.dataType < 0 || key.dataType >= kDataTypeCount) {
            spdlog::warn("Trendlines of a chart without a symbol or data type are not stored");
            continue;
        }
        Json trendlines = Json::array();
        for (const STrendRecord& record : records) {
            if (!Storable(record)) {
                spdlog::warn("A trendline of {} without its points or with a point off the "
                             "calendar is not stored",
                             key.symbol);
                continue;
            }
            Json points = Json::array();
            for (const auto& [time, price] : record.points) {
                const bool micro = key.dataType == kTicks || time.microseconds != 0;
                points.push_back({{"time", FormatPointTime(time, micro)}, {"price", price}});
            }
            Json line = {{"kind", TrendKindInfo(record.kind).name}, {"points", std::move(points)}};
            if (record.scale != EPriceScale::Linear) {
                line["scale"] = PriceScaleShortName(record.scale);
            }
            if (record.alert &&
                (record.kind == ETrendKind::Horizontal || record.kind == ETrendKind::Sloping)) {
                line["alert"] = AlertJson(*record.alert);
            }
            trendlines.push_back(std::move(line));
        }
        if (!trendlines.empty()) {
            charts.push_back(
                {{"symbol", key.symbol},
                 {"type", DataTypeTable()[static_cast<std::size_t>(key.dataType)].name},
                 {"trendlines", std::move(trendlines)}});
        }
    }
    Json file = {{"version", kFileVersion}, {"charts", std::move(charts)}};
    if (!m_levels.empty()) {
        Json alerts = Json::array();
        for (const SLevelAlert& alert : m_levels) {
            if (alert.symbol.empty() || !std::isfinite(alert.price) ||
                AlertDirectionName(alert.setting.direction)[0] == '\0') {
                spdlog::warn("A level alert without a symbol or price is not stored");
                continue;
            }
            Json entry = {{"symbol", alert.symbol}, {"price", alert.price}};
            entry.update(AlertJson(alert.setting));
            alerts.push_back(std::move(entry));
        }
        file["alerts"] = std::move(alerts);
    }
    return file.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::optional<CTrendStore> CTrendStore::Read(std::string_view text, std::string& error) {
    error.clear();
    if (text.empty()) {
        return CTrendStore();
    }
    try {
        if (text.size() > kMaxText) {
            Refuse("",
                   "the text is larger than " + std::to_string(kMaxText / 1024 / 1024) + " MiB");
        }
        if (const std::size_t at = TooDeepAt(text); at != std::string_view::npos) {
            Refuse("", "nested deeper than " + std::to_string(kMaxDepth) + " levels at byte " +
                           std::to_string(at + 1));
        }
        Json file;
        try {
            file = Json::parse(text);
        } catch (const Json::exception& parseError) {
            // "[json.exception.parse_error.101] parse error at line 1, ...": the part after the
            // library's tag says where.
            const std::string what = parseError.what();
            const std::size_t tag = what.find("] ");
            Refuse("",
                   "not JSON (" + (tag == std::string::npos ? what : what.substr(tag + 2)) + ")");
        }
        ObjectAt(file, "the file");
        const Json& version = Field(file, "", "version");
        if (!version.is_number_integer() || version.get<std::int64_t>() != kFileVersion) {
            Refuse("version", Shown(version) + " is not " + std::to_string(kFileVersion));
        }
        const Json& charts = ArrayField(file, "", "charts");
        CTrendStore store;
        std::set<STrendChartKey> seen;
        for (std::size_t i = 0; i < charts.size(); ++i) {
            const std::string where = Indexed("", "charts", i);
            const Json& chart = ObjectAt(charts[i], where);
            STrendChartKey key;
            key.symbol = TextField(chart, where, "symbol");
            if (key.symbol.empty()) {
                Refuse(where + ".symbol", "the symbol is empty");
            }
            const std::string typeName = TextField(chart, where, "type");
            const int type = FindDataType(typeName);
            if (type < 0) {
                Refuse(where + ".type", Shown(typeName) + " is no data type");
            }
            key.dataType = DataTypeTable()[static_cast<std::size_t>(type)].dataType;
            if (!seen.insert(key).second) {
                Refuse(where, key.symbol + " " +
                                  DataTypeTable()[static_cast<std::size_t>(type)].name +
                                  " is named twice");
            }
            const Json& trendlines = ArrayField(chart, where, "trendlines");
            Records records;
            for (std::size_t j = 0; j < trendlines.size(); ++j) {
                records.push_back(ReadRecord(trendlines[j], Indexed(where, "trendlines", j)));
            }
            // A chart whose list is empty is the same as no chart, as Set keeps it.
            if (!records.empty()) {
                store.m_charts[key] = std::move(records);
            }
        }
        if (const auto alerts = file.find("alerts"); alerts != file.end()) {
            if (!alerts->is_array()) {
                Refuse("alerts", Shown(*alerts) + " is not a list");
            }
            for (std::size_t i = 0; i < alerts->size(); ++i) {
                store.m_levels.push_back(ReadLevelAlert((*alerts)[i], Indexed("", "alerts", i)));
            }
        }
        store.NumberAlerts();
        return store;
    } catch (const SRefusal& refusal) {
        error = refusal.what;
    } catch (const std::exception& unexpected) {
        error = std::string("cannot be read: ") + unexpected.what();
    }
    return std::nullopt;
}
