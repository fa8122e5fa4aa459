#include "driver/velkor.h"

#include "driver/register_catalogue.h"

// The only objects of the library that are built at load. Definition order is construction order
// and the reverse is destruction order, which the host relies on: the tables outlive the driver.

const QString REG_LIST[REGISTER_COUNT] = {
    QLatin1String("CIO_bit"), QLatin1String("WR_bit"), QLatin1String("HR_bit"),
    QLatin1String("AR_bit"),  QLatin1String("DM_bit"), QLatin1String("CIO"),
    QLatin1String("WR"),      QLatin1String("HR"),     QLatin1String("AR"),
    QLatin1String("T"),       QLatin1String("C"),      QLatin1String("DM")};

// "AR_bit" starts at word 448 and "AR" at 0: words 0 to 447 are read-only in the PLC, and bits are
// there to be written.
const QString ADDRESS_RANGE_FINS[REGISTER_COUNT] = {
    QLatin1String("ddddd.DD (DD:0~15),0.0,6143.15,0,1"),
    QLatin1String("dd.DD (DD:0~15),0.0,511.15,0,1"),
    QLatin1String("dddd.DD (DD:0~15),0.0,1535.15,0,1"),
    QLatin1String("ddd.DD (DD:0~15),448.0,959.15,0,1"),
    QLatin1String("ddddd.DD (DD:0~15),0.0,32767.15,0,1"),
    QLatin1String("dddd,0,6143,1,1"),
    QLatin1String("ddd,0,511,1,1"),
    QLatin1String("dddd,0,1535,1,1"),
    QLatin1String("ddd,0,959,1,1"),
    QLatin1String("dddd,0,4095,1,1"),
    QLatin1String("dddd,0,4095,1,1"),
    QLatin1String("ddddd,0,32767,1,1")};

velkor driver;

// Fields not named here start at zero: the object lies in static storage.
velkor::velkor()
    : requestCount(0), lastError(0), rcpIndex(0), nodeLearned(1), SNA(0), SA1(0), SA2(0), DNA(0),
      DA1(0), DA2(0), SID(0), reserved35(0) {
    dataAreaList.clear();
}
