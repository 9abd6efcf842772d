#pragma once

#include <QVector>
#include <cstdint>
#include <vector>

// Adds header positions to the positions that cut a file, as if each in turn went before the first
// cut greater than it, and a position with no greater cut were left out; into no cuts at all the
// first position goes as it is. Neither list need ascend. Costs no more than sorting the headers
// and one pass over the cuts.
void InsertHeaderCuts(const QVector<quint64>& headerPositions, std::vector<std::uint64_t>* cuts);
