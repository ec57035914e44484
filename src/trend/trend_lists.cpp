#include "trend/trend_lists.h"

#include "trend/trend_store.h"

CTrendList::CTrendList(ITrendPane& owner, std::int32_t& nextNumber,
                       std::vector<std::uint32_t>& freeNumbers)
    : m_owner(owner), m_nextNumber(nextNumber), m_freeNumbers(freeNumbers) {}

CTrendList::~CTrendList() {
    RemoveAll();
}

int CTrendList::TakeSeriesNumber() {
    if (!m_freeNumbers.empty()) {
        const auto number = static_cast<int>(m_freeNumbers.front());
        m_freeNumbers.erase(m_freeNumbers.begin());
        return number;
    }
    return m_nextNumber++;
}

std::shared_ptr<CBaseTrend> CTrendList::Add(ETrendKind kind, std::vector<STrendPoint> points,
                                            const STrendStyle& style) {
    std::vector<int> numbers(static_cast<std::size_t>(TrendPartCount(kind)));
    for (int& number : numbers) {
        number = TakeSeriesNumber();
    }
    auto trend = std::make_shared<CBaseTrend>(kind, std::move(points), style, std::move(numbers));
    m_trendlines.push_back(trend);
    m_owner.AddTrendItem(trend);
    return trend;
}

bool CTrendList::Remove(const CBaseTrend* trend) {
    const auto it = std::find_if(m_trendlines.begin(), m_trendlines.end(),
                                 [trend](const auto& held) { return held.get() == trend; });
    if (it == m_trendlines.end()) {
        return false;
    }
    const std::shared_ptr<CBaseTrend> removed = *it;
    m_trendlines.erase(it);
    m_owner.RemoveTrendItem(removed.get());
    for (const int number : removed->SeriesNumbers()) {
        m_freeNumbers.push_back(static_cast<std::uint32_t>(number));
    }
    return true;
}

void CTrendList::RemoveAll() {
    while (!m_trendlines.empty()) {
        Remove(m_trendlines.back().get());
    }
}

CTrendLists::CTrendLists(ITrendPane& owner) : m_owner(owner) {
    for (auto& list : m_lists) {
        list = std::make_unique<CTrendList>(m_owner, m_nextNumber, m_freeNumbers);
    }
}

CTrendLists::~CTrendLists() {
    m_selected.reset();
    for (auto it = m_lists.rbegin(); it != m_lists.rend(); ++it) {
        it->reset();
    }
}

bool CTrendLists::Remove(const CBaseTrend* trend) {
    if (trend == nullptr) {
        return false;
    }
    if (m_selected.get() == trend) {
        m_selected.reset();
    }
    return List(trend->Kind()).Remove(trend);
}

int CTrendLists::RemoveAll() {
    const int count = Count();
    m_selected.reset();
    for (auto& list : m_lists) {
        list->RemoveAll();
    }
    return count;
}

int CTrendLists::Count() const {
    int count = 0;
    for (const auto& list : m_lists) {
        count += static_cast<int>(list->Trendlines().size());
    }
    return count;
}

std::vector<std::shared_ptr<CBaseTrend>> CTrendLists::All() const {
    std::vector<std::shared_ptr<CBaseTrend>> all;
    for (const auto& list : m_lists) {
        all.insert(all.end(), list->Trendlines().begin(), list->Trendlines().end());
    }
    return all;
}

CTrendLists::SNearest CTrendLists::Nearest(const CChart2D& chart, const SPaneView& view,
                                           CChart2D::SPixelPoint point) {
    SNearest best;
    for (const auto& list : m_lists) {
        SNearest inList;
        for (const auto& trend : list->Trendlines()) {
            const double distance = trend->Distance(chart, view, point);
            if (distance >= 0.0 && (inList.trend == nullptr || distance < inList.distance)) {
                inList = {trend, distance};
            }
        }
        if (inList.trend != nullptr && (best.trend == nullptr || inList.distance < best.distance)) {
            best = inList;
        }
    }
    m_selected = best.trend;
    return best;
}

void CTrendLists::ApplyStyles(const STrendStyles& styles) {
    for (const auto& trend : All()) {
        trend->SetStyle(styles[static_cast<std::size_t>(trend->Kind())]);
    }
}

void CTrendLists::Reanchor(const CChartHistRequest& history) {
    for (const auto& trend : All()) {
        trend->Reanchor(history);
    }
}

void AddTrendRecords(CTrendLists& lists, const std::vector<STrendRecord>& records,
                     const CChartHistRequest& history, const STrendStyles& styles) {
    for (const STrendRecord& record : records) {
        std::vector<STrendPoint> points;
        for (const auto& [time, price] : record.points) {
            points.push_back({BarOfTime(history, time), price, time});
        }
        const auto trend = lists.Add(record.kind, std::move(points),
                                     styles[static_cast<std::size_t>(record.kind)]);
        trend->SetScale(record.scale);
        if (record.alert) {
            trend->SetAlert(CAlertWatch(*record.alert));
        }
    }
}

std::vector<STrendRecord> TrendRecords(const CTrendLists& lists) {
    std::vector<STrendRecord> records;
    for (const auto& trend : lists.All()) {
        STrendRecord record;
        record.kind = trend->Kind();
        record.scale = trend->Scale();
        for (const STrendPoint& point : trend->Points()) {
            record.points.emplace_back(point.time, point.price);
        }
        if (trend->Alert()) {
            record.alert = trend->Alert()->Setting();
        }
        records.push_back(std::move(record));
    }
    return records;
}
