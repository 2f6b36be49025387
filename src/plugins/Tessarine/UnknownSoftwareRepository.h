#include "Tessarine/Constants.h"

#ifndef TESSARINE_UNKNOWNSOFTWAREREPOSITORY_H
#define TESSARINE_UNKNOWNSOFTWAREREPOSITORY_H

namespace Tessarine {

/// Interface to a store of software packages that an inventory found but could not identify.
///
/// The library neither implements nor calls it; it is there for hosts and plug-ins. Entries are
/// reached by index, from 0 below getCount(); texts handed out belong to the repository and
/// stay good until it changes or is closed. Operations with a result code use the PLUGIN_
/// codes.
///
/// Objects are never deleted through this type, which is why the destructor is protected and
/// not virtual; the implementor's own type decides how an object ends.
class TESSARINE_API UnknownSoftwareRepository {
public:
    UnknownSoftwareRepository();

    /// Opens the repository at the location (a path or an address, as the implementor reads
    /// it). A result code.
    virtual int32_t open(wchar_t const* i_Location) = 0;
    /// Releases what open() took. Entries are no longer reachable afterwards.
    virtual void close() = 0;
    /// The number of entries.
    virtual int32_t getCount() = 0;
    /// The index of the entry with this name and version, or PLUGIN_ERROR_EXPRESSION_NOT_FOUND
    /// when there is none. A null version matches any version.
    virtual int32_t find(wchar_t const* i_Name, wchar_t const* i_Version) = 0;
    /// The package name of the entry, or null for an index outside the entries.
    virtual wchar_t const* getName(int32_t i_Index) = 0;
    /// The version text of the entry, or null for an index outside the entries.
    virtual wchar_t const* getVersion(int32_t i_Index) = 0;
    /// The vendor the package names, or null for an index outside the entries or an unknown
    /// vendor.
    virtual wchar_t const* getVendor(int32_t i_Index) = 0;
    /// Records a newly found package and gives its index, or a negative result code.
    virtual int32_t add(wchar_t const* i_Name, wchar_t const* i_Version,
                        wchar_t const* i_Vendor) = 0;

protected:
    ~UnknownSoftwareRepository();
};

} // namespace Tessarine

#endif
