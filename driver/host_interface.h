#ifndef VELKOR_DRIVER_HOST_INTERFACE_H
#define VELKOR_DRIVER_HOST_INTERFACE_H

/// The contract between the driver and its host: the eighteen exported functions, the callback,
/// the result codes and the bytes of the host's memory that the driver touches.
///
/// Conventions, referred to by number below:
///
/// 1. One call at a time. The driver has no thread, lock, timer or socket of its own. Its state is
///    not locked: the host serialises its calls. The one thing other host threads may touch
///    meanwhile is the host shared block, whose two bytes the driver accesses only under the host's
///    mutex.
/// 2. Ownership. Memory areas, mutex and callback are lent by the host at intf_initProperty and
///    intf_setAddrValueChangeCallBack, stay the host's, must outlive their use, and are never
///    tested for null and never freed. Every other argument is used only during the call.
/// 3. The callback runs on the host's thread, inside the call that raised it, never while the mutex
///    is held. From inside it the host may call intf_getData, intf_setData, intf_addConditionRead
///    and the configuration queries (marked "query"), and nothing else.
/// 4. Lists given out are appended to (marked "appends"), texts are replaced. Where a call says
///    "unchanged", not one byte of the output has been written.
/// 5. Nothing is thrown at the host, and no input is fatal but one whose length does not fit in
///    memory. Names and addresses in data calls are not checked; a wrong one is refused by the PLC
///    later.
/// 6. Register names are compared exactly, case and blanks included. Decimal numbers in texts are
///    read as QString::toInt does in base 10: blanks around the number and a sign are accepted
///    (but not in the bit of word.bit, whose length counts).
/// 7. Words travel to and from the host low byte first, bits as one byte each (0 or 1).
/// 8. Arithmetic on addresses and lengths wraps at 32 bits; but the address checks and
///    intf_multiCopy compute in 64 bits: what lies beyond the highest address is found to do so,
///    however large count and step are.
///
/// The library exports three more names, with C++ linkage, that are no part of this contract and
/// that no installed header declares: `driver`, the driver object, whose layout depends on the Qt
/// it was built with; `_byteDataChange`; and `void connectToServer()`. connectToServer queues the
/// node-address request of FINS/TCP (20 bytes, "FINS" in front, no service ID; the reply has 24),
/// which over UDP reads as a response and is not answered, and whose reply teaches only when the
/// object's field `nodeLearned` is 0; it is 1 from the start. A host over UDP leaves all three
/// alone and sets its node numbers by intf_SetDriverPropertyPage.

#include "records.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVector>

#if defined(__GNUC__)
#define VELKOR_EXPORT __attribute__((visibility("default")))
#else
#define VELKOR_EXPORT
#endif

/// The host's value-change callback. Its result is ignored.
///
/// | tag      | station     | regName    | address          | meaning                            |
/// |----------|-------------|------------|------------------|------------------------------------|
/// | host tag | the word's  | name       | word             | a monitored word changed           |
/// | host tag | the word's  | name_bit   | word * 16 + bit  | a monitored bit changed; ascending,|
/// |          |             |            |                  | before its word                    |
/// | host tag | the write's | name_bit   | first bit of the | a bit write ended; once for each   |
/// |          |             |            | write            | of its bits                        |
/// | -1       | -1          | "-1"       | 0 or -1          | the condition read queued last has |
/// |          |             |            |                  | been answered (0) or failed (-1)   |
/// | host tag | as given    | as given   | base + bit 0..7  | _byteDataChange only, which the    |
/// |          |             |            |                  | driver itself never calls          |
/// | 0        | -1          | "LW"       | 122022, 122023   | the driver wrote these bytes of the|
/// |          |             |            |                  | host status block (two calls)      |
/// | 0        | -1          | "RWI"      | word index       | a recipe word was stored into the  |
/// |          |             |            |                  | host's recipe buffer               |
///
/// "host tag" is item 0 of the property string. Inside the callback intf_getData gives for what is
/// reported:
///
/// | reported                     | inside the callback intf_getData gives                        |
/// |------------------------------|---------------------------------------------------------------|
/// | a change by intf_setData     | what the host saw before                                      |
/// | a change by a reply          | what was read before (a write that the reply overrides is no  |
/// |                              | longer seen)                                                  |
/// | a failed write of words      | the PLC's value: the cache has gone back already              |
/// | the end of a bit write       | what was written as long as another bit of the word is        |
/// |                              | pending; otherwise, so at the last of the calls, what was     |
/// |                              | written if the write was taken, the PLC's value if it failed  |
/// | the end of a condition read, | what the reply brought                                        |
/// | "RWI"                        |                                                               |
/// | "LW"                         | as before the failure: the request is closed after these calls|
///
/// No data callback says that a write has failed, and none comes for a word that is not monitored
/// or whose value was the same anyway: result 2 of intf_dealRcvFrame, its message and the two "LW"
/// calls do.
typedef int (*AddrValueChangeCallBack)(int tag, int station, QString regName, int address);

/// Bytes of the host's two memory areas that the driver uses. Their places are the host runtime's.
enum HostByteOffset {
    /// Host shared block: 1 asks for a recipe download (host to PLC). The driver writes 0 when the
    /// last block has been written or a block has failed; which of the two, only the failure's own
    /// signs tell. While it is 1 nothing else is sent, and with no recipe block it stays 1 for ever
    /// (see intf_setRcpAddress). Only accessed under the host's mutex.
    HOST_RECIPE_DOWNLOAD_REQUEST = 60115,
    /// Host shared block: 1 asks for a recipe upload (PLC to host); looked at only while the
    /// download byte is not 1. Cleared in the same way, under the mutex.
    HOST_RECIPE_UPLOAD_REQUEST = 60116,
    /// Host status block: the driver writes 4 when a request has failed. Written without the mutex,
    /// never written back: resetting it is the host's business.
    HOST_COMMUNICATION_STATUS = 122022,
    /// Host status block: written 0 together with the byte before it.
    HOST_COMMUNICATION_STATUS_DETAIL = 122023
};

/// Results of intf_checkAddrValidity and intf_checkAddr.
enum AddressCheckResult {
    ADDRESS_VALID = 0,        ///< valid; also for a name that is no register
    ADDRESS_WRONG_KIND = 1,   ///< a word register was asked for as a bit register or vice versa
    ADDRESS_OUT_OF_RANGE = 2, ///< the address, or the block from it, leaves the register
    ADDRESS_SYNTAX = 4,       ///< the text is no address in the register's syntax
    ADDRESS_NO_ACCESS = 6     ///< the register may not be accessed so (intf_checkAddr only)
};

/// Results of intf_dealRcvFrame.
enum ReplyResult {
    REPLY_NOT_EXPECTED = 0,   ///< no frame is queued; the reply was ignored
    REPLY_ACCEPTED = 1,       ///< accepted; ask for the next frame
    REPLY_REQUEST_FAILED = 2, ///< the retries are exhausted; the request was given up
    REPLY_REJECTED = 8 ///< not the reply expected; ask for the next frame: the same one again,
                       ///< or a change of the PLC's mode before it
};

/// Results of intf_multiCopy.
enum MultiCopyResult {
    MULTI_COPY_UNKNOWN_REGISTER = 0, ///< no such register; nothing appended
    MULTI_COPY_DONE = 1,             ///< every address lies within the register's maximum
    MULTI_COPY_CUT = 2               ///< at least one address was replaced by the maximum
};

extern "C" {

/// Binds the driver to its host and restarts the exchange from idle. Called before any exchange.
///
/// `*out` receives 2, always and first. `propertyString` (zero-terminated Latin-1) is split at "#";
/// with five items or more, items 0 to 4 become: host tag (first argument of every data callback,
/// owner of recipe variables), write disable (nonzero: intf_setData sends nothing), a setting the
/// driver only keeps, retry limit (bad replies in a row after which a request fails), words per
/// frame (largest block read that merging forms, size of the pieces of condition reads and writes;
/// with 0 or less, ranges are not joined, condition reads not cut, and writes cut at 503 words or
/// 1006 bits). An item that is no number counts as 0. With fewer items the five keep their values.
///
/// `hostBlock`: host shared block; bytes 60115 and 60116 must exist. `statusBlock`: host status
/// block; bytes 122022 and 122023 must exist. `recipeBuffer`: as many words as the recipe variables
/// address. `mutex` guards the host shared block; the calling thread must not hold it during any
/// call.
///
/// Request lists, cache and frame queue are emptied. Recipe variables, the position of a recipe
/// transfer, node settings, the service ID and the callback stay: do not bind again while a recipe
/// runs, or the next one begins in its middle (see intf_setRcpAddress). Returns 1.
VELKOR_EXPORT int intf_initProperty(unsigned char* hostBlock, unsigned char* statusBlock,
                                    unsigned short* recipeBuffer, int* out,
                                    const char* propertyString, QMutex* mutex);

/// Registers the value-change callback. Set it before the first intf_setData, intf_getSendFrame or
/// intf_dealRcvFrame.
VELKOR_EXPORT void intf_setAddrValueChangeCallBack(AddrValueChangeCallBack callback);

/// Query. Stores 1 in `*out`.
VELKOR_EXPORT void intf_getProtocolType(int* out);

/// Query. Replaces `out` by the default parameter string: 22 comma fields, of which 7 is the PLC's
/// IPv4 address, 8 its UDP port, 9 the protocol identifier and 10 to 21 the register names. The
/// driver never reads such a string back; fields 1 to 4 are the host's serial settings, 0, 5 and 6
/// other settings of the host.
VELKOR_EXPORT void intf_getDriverParameter(QString& out);

/// Query. Replaces `out` by the description of the node settings page: "6_0" (six settings), then
/// name and default of each: DNA, DA1, DA2, SNA, SA1, SA2.
VELKOR_EXPORT void intf_getDriverPropertyPage(QString& out);

/// Sets the FINS node settings: seven comma items, the first ignored (the page's description has
/// the number of settings there, 6), then DNA, DA1, DA2, SNA, SA1, SA2 (destination and source
/// network, node, unit) in decimal; no number counts as 0; only the low 8 bits reach a frame. With
/// any other number of items nothing changes.
VELKOR_EXPORT void intf_SetDriverPropertyPage(const QString& page);

/// Query, appends. The names of the bit registers (type 0) or word registers (type 1) in catalogue
/// order. Returns 1 for type 0 or 1; else 0, and `out` is unchanged.
VELKOR_EXPORT int intf_getRegListByType(int type, QList<QString>& out);

/// Query, appends. The five texts that describe a register: address format, lowest address, highest
/// address, kind ("0" bit, "1" word), access. Unknown name: `out` unchanged. Always returns 0.
VELKOR_EXPORT int intf_getRegDiscription(const QString& regName, QList<QString>& out);

/// Query. Is `addrText` a valid address of `regName` for a block of `count` words or bits?
///
/// `wordExpected`: nonzero asks for a word register, 0 for a bit register. Word registers take a
/// decimal word number; bit registers take word.bit, the bit without a leading zero (100.5,
/// 100.15). `count` of 0 accepts one address past the end, and each count below 0 one more.
///
/// Results (AddressCheckResult) and `*out`:
/// 0 valid: the address. 0 unknown name: unchanged. 1: unchanged. 2: the address. 4: 0 for a word
/// register, unchanged for a bit register.
VELKOR_EXPORT int intf_checkAddrValidity(const QString& regName, const QString& addrText, int* out,
                                         int count, int wordExpected);

/// Query. The same check with other arguments: `countKind` -1 asks for a bit register, any other
/// value for a word register; `access` 1 or 2 is refused with 6 (`*out` unchanged), before anything
/// else, where the register's access field is "0", which no register of this driver has.
VELKOR_EXPORT int intf_checkAddr(const QString& regName, const QString& addrText, int* out,
                                 int countKind, int count, int access);

/// Queues a one-shot read, ahead of the cyclic ones. The range is cut into pieces of 8 * words per
/// frame (countKind -1) or words per frame, and not at all where that limit is 0 or less; bits are
/// read as the words that hold them, counted from the range's first word without regard to the
/// first bit's place in it, so a range that crosses a word boundary should be asked for as words.
/// `type` is stored in the requests, never interpreted.
///
/// A piece with the station, register, address and length of one that waits replaces it in its
/// place; the first of the list may be under way and is not compared. The list holds at most 513
/// requests; when full, the newest takes the last place.
///
/// When a request like the piece queued last has been answered or has failed, the callback gets
/// (-1, -1, "-1", 0 or -1); two equal ones give two calls. When any of them fails all that wait are
/// dropped, without a call where the failed one was another than the last: then only result 2 of
/// intf_dealRcvFrame and "LW" tell. Failed writes and cyclic reads drop none. Returns 1.
VELKOR_EXPORT int intf_addConditionRead(KEY_ADDRESS key, int type);

/// Declares everything that is to be polled: clears all monitor marks, marks the given ranges, and
/// rebuilds the cyclic reads. The ranges, bits as the words that hold them, are sorted by register
/// and address; those that touch or overlap are joined, then those with gaps between them, up to
/// words per frame. A range that is longer by itself is not cut: it goes out as one read of its
/// whole length, which a PLC may refuse, so the host cuts it. Ranges should not lie inside one
/// another, bits inside words neither: an inner range cuts its block back to its own end. Ranges of
/// different stations are joined under the first one's.
///
/// On return `keys` holds the blocks that will be read, so a host can check that they cover what it
/// asked for. May be called at any time outside the callback, also with a frame in flight, whose
/// reply is then dealt with as usual (after the reply to a cyclic read the new list begins with its
/// second block). Cached values, writes and condition reads stay. Writes debug lines to Qt's
/// message handler. Returns the number of cyclic block reads; 0 for an empty list.
VELKOR_EXPORT int intf_addrMerge(QList<KEY_ADDRESS>& keys);

/// Declares the recipe variables. Those with this driver's host tag are kept, sorted and joined
/// into blocks. The variables of one block must lie in the recipe buffer back to back in PLC order:
/// a download takes a block's words as one run from its first variable's offset (an upload honours
/// each variable's own). A block of more than 503 words cannot be downloaded: the request fails.
///
/// The position of a transfer, the block that is next, goes back to the first block only when a
/// transfer has ended, after its last block or by a failure. It survives this call,
/// intf_initProperty, a request byte that the host clears, and a change from upload to download:
/// the next transfer then begins in the middle and ends as a whole one does. So never cancel, bind
/// again or replace a recipe while one runs; to give one up, hand over empty replies until the
/// request fails. Where the position lies behind the last block, or there is no block, the request
/// that was sent last goes out again, a write too; with no block for ever, and each reply then
/// settles the next waiting request of that kind unsent.
///
/// Returns the number of variables kept.
VELKOR_EXPORT int intf_setRcpAddress(const QVector<_RCP_VAR_PRO>& variables);

/// The next frame to send. 1: `out` holds it (send out.sendLen bytes of out.frame); asked again
/// before the reply has been dealt with, the same frame is given again. 0: nothing to send, `out`
/// unchanged. A recipe block that is too long to download fails here: the callback announces it and
/// 0 is returned.
VELKOR_EXPORT unsigned int intf_getSendFrame(FRAME_PRO& out);

/// Takes the reply to the frame given out last; an empty reply says that none came in time.
/// `*message` is always replaced: by the empty text, or with result 2 by "length,station,address,
/// register": the length of the reply in bytes and the request it belonged to. A mode change has no
/// request: the text is "14,0,0," when the last reply was itself a refusal by mode, and "0,0,0,"
/// when the mode change is not answered. Results: ReplyResult.
///
/// The driver judges a read's reply by its length and service ID alone, and takes a write as done
/// with any end code but a refusal by mode (22 with 03, 04 or 06, no other bit set). To such a
/// refusal it answers with a change to MONITOR mode, which starts the program of a PLC that was
/// stopped; a host that must not allow that hands over an empty reply instead.
VELKOR_EXPORT unsigned int intf_dealRcvFrame(QByteArray* reply, QString* message);

/// The values the host should show, from the cache: what was last read, or, for a word with a write
/// under way, what was written. `buf` receives 2 bytes for each word or 1 byte (0 or 1) for each
/// bit. A word never read gives 0, and a value stays however long ago it was read: its age is the
/// host's to know. `count` below 1 writes nothing. Returns 1.
VELKOR_EXPORT int intf_getData(int station, QString regName, int addr, int count,
                               unsigned char* buf);

/// Queues a write, ahead of the reads, and shows the new value at once. `data`: 2 bytes for each
/// word, or 1 byte for each bit, of which only the value 1 sets the bit in the cache (the byte goes
/// to the PLC as it is). Cut into pieces of words per frame (bits too), at most 503 words or 1006
/// bits. `tag` is stored in the requests, never interpreted.
///
/// A piece with the station, register, address and length of one that waits replaces it in its
/// place: behind another write, 1 and 0 to one bit leave the 0. The first of the list may be under
/// way and is not compared. The list holds at most 513 requests; when full, the newest takes the
/// last place. With write disable nothing is queued, and the value stays to be seen until the PLC's
/// own changes.
///
/// A write may be executed more than once: at each try whose reply is lost, and, after a refusal by
/// mode, at each try, as the driver does not recognise the replies to a resent write. It is then
/// reported as failed though the PLC has it. Of two writes to one word the end of the first also
/// ends the second's being shown (failed) or makes it the PLC's value (taken) before it is sent.
/// Returns 1.
VELKOR_EXPORT int intf_setData(int station, QString regName, int addr, int count,
                               unsigned char* data, int tag);

/// Appends; needs no other call before it. Lays out `count` addresses from `start`, `step` apart
/// (words or bits; may be 0 or negative): `texts` receives the address texts, `values` the numbers.
/// An address beyond the register's maximum is replaced by it; the minimum is not checked, and the
/// texts show numbers below 0 unsigned (-1 as 4294967295). Both vectors grow by exactly `count`
/// entries. Results: MultiCopyResult; 1 also for `count` below 1.
VELKOR_EXPORT int intf_multiCopy(QString regName, int start, int count, int step,
                                 QVector<QString>& texts, QVector<int>& values);

} // extern "C"

#endif
