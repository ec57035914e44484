#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class IBlockingSocket;
class IFeedPlatform;

// A reference table fetched once from the lookup port over a short-lived blocking connection.
// Each of its 256 entries (indexed by the numeric id 0 to 255) holds the four texts that follow
// the id on the id's reply line.
class CLookupSystemInfo {
public:
    using Entry = std::array<std::string, 4>;
    static constexpr int kEntries = 256;

    CLookupSystemInfo(IFeedPlatform& platform, std::string request);
    virtual ~CLookupSystemInfo();

    // Fetches and fills the table unless it is loaded; a failed connect, a short send or a
    // connection that ends before the reply does leaves it empty and not loaded, so the next call
    // tries again. True when loaded afterwards.
    bool Load();
    bool IsLoaded() const { return m_loaded; }
    // The entry of `id`; an empty entry for ids outside 0 to 255.
    const Entry& At(int id) const;
    const std::string& Response() const { return m_response; }

    // Reading the reply from `socket` into `response`: until "!ENDMSG!" (the text before it,
    // without leading CR/LF, is kept), a syntax error (which empties the response), a shutdown
    // or an error. Either marker may be split across receives. True when the reply ended with
    // one of the markers, false when the connection ended first.
    static bool ReadReply(IBlockingSocket& socket, std::string& response);
    // Cuts `response` at each "\n" and fills `table`; a last line without "\n" is not read, and
    // lines whose id is empty or outside 0 to 255 are skipped.
    static void FillTable(const std::string& response, std::array<Entry, kEntries>& table);

private:
    bool Fetch();

    IFeedPlatform& m_platform;
    std::string m_request;
    std::unique_ptr<IBlockingSocket> m_socket;
    std::string m_response;
    bool m_loaded = false;
    std::array<Entry, kEntries> m_table;
};

// Listed markets ("SLM"): id, short name, name, group id, group name.
class CListedMarkets : public CLookupSystemInfo {
public:
    explicit CListedMarkets(IFeedPlatform& platform);
    const std::string& ShortName(int id) const { return At(id)[0]; }
    const std::string& Name(int id) const { return At(id)[1]; }
};

// Security types ("SST"): id, short name, name.
class CSecurityTypes : public CLookupSystemInfo {
public:
    explicit CSecurityTypes(IFeedPlatform& platform);
    const std::string& ShortName(int id) const { return At(id)[0]; }
    const std::string& Name(int id) const { return At(id)[1]; }
};
