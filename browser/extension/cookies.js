// Which cookies belong to a request. Chromium loads this by importScripts, Firefox as a background script.
"use strict";

const api = globalThis.browser ?? globalThis.chrome;
const ALL_SITES = "*";

/** The sites of the addresses, each once: host names without a leading "www."; null where one is no web address. */
function sitesOf(addresses) {
  if (addresses.length === 0) return [ALL_SITES];
  const sites = new Set();
  for (const address of addresses) {
    const url = URL.canParse(address) ? new URL(address) : null;
    if (!url || !/^https?:$/.test(url.protocol)) return null;
    sites.add(url.hostname.replace(/^www\.(?=.*\.)/, ""));
  }
  return [...sites];
}

/** Partitioned cookies as well as others; in Firefox whatever their first party is. */
async function query(details, storeId) {
  const wanted = { ...details, partitionKey: {}, ...(storeId ? { storeId } : {}) };
  if (!api.runtime.getBrowserInfo) return api.cookies.getAll(wanted);
  return api.cookies.getAll({ ...wanted, firstPartyDomain: null });
}

/**
 * Of the whole site of an address. The widest domain for which the browser has accepted a cookie that goes to
 * the address is the site: browsers refuse one for a domain under which others register theirs.
 */
async function cookiesOfSite(address, storeId) {
  const { host, hostname, pathname } = new URL(address);
  const sent = [];
  for (const scheme of ["https", "http"])
    sent.push(...(await query({ url: `${scheme}://${host}${pathname}` }, storeId)));
  const domains = sent.filter((cookie) => !cookie.hostOnly).map((cookie) => cookie.domain.replace(/^\./, ""));
  const widest = domains.reduce((best, domain) => (domain.length < best.length ? domain : best), hostname);
  return [...sent, ...(await query({ domain: widest }, storeId))];
}

async function storesInSight() {
  const stores = (await api.cookies.getAllCookieStores()).map((store) => store.id);
  return stores.length > 0 ? stores.sort() : [undefined]; // the browser's own store sorts first
}

/** All cookies that the request is for, those of the browser's own store first, each once. */
async function cookiesFor(addresses) {
  const found = new Map();
  for (const store of await storesInSight()) {
    const lists = addresses.length === 0 ? [query({}, store)] : addresses.map((one) => cookiesOfSite(one, store));
    for (const cookie of (await Promise.all(lists)).flat()) {
      const partition = cookie.partitionKey?.topLevelSite ?? "";
      const { name, value, domain, hostOnly, path, secure, httpOnly, session, expirationDate = 0 } = cookie;
      const key = JSON.stringify([cookie.storeId, partition, domain, path, name]);
      found.set(key, { name, value, domain, hostOnly, path, secure, httpOnly, session,
                       expires: Math.floor(expirationDate), store: cookie.storeId, partition });
    }
  }
  return [...found.values()];
}
