// Of radio buttons that exclude each other Tab reaches one: the one that is chosen. Main thread
// only.
#pragma once

class QButtonGroup;

namespace corvella {

// From now on, whoever chooses.
void letTabReachTheChosen(QButtonGroup &group);

} // namespace corvella
