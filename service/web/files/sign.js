"use strict";

// Requests are signed with the session's access pair. The digests are computed here and not by the browser, which offers
// them to pages from secure addresses only.

const sha256 = (() => {
  const fraction = (root, prime) => Math.floor((Math.pow(prime, root) % 1) * 4294967296);
  const primes = [];
  for (let n = 2; primes.length < 64; ++n)
    if (primes.every(p => n % p)) primes.push(n);
  const rounds = primes.map(p => fraction(1 / 3, p));
  const start = primes.slice(0, 8).map(p => fraction(1 / 2, p));
  const turn = (x, by) => (x >>> by) | (x << (32 - by));

  return bytes => {
    const length = bytes.length;
    const padded = new Uint8Array(((length + 8 >> 6) + 1) << 6);
    padded.set(bytes);
    padded[length] = 0x80;
    const view = new DataView(padded.buffer);
    view.setUint32(padded.length - 8, Math.floor(length / 0x20000000));
    view.setUint32(padded.length - 4, length << 3);
    const sum = start.slice();
    const w = new Int32Array(64);
    for (let at = 0; at < padded.length; at += 64) {
      for (let i = 0; i < 16; ++i) w[i] = view.getInt32(at + i * 4);
      for (let i = 16; i < 64; ++i) {
        const a = w[i - 15], b = w[i - 2];
        w[i] = w[i - 16] + (turn(a, 7) ^ turn(a, 18) ^ a >>> 3) + w[i - 7] + (turn(b, 17) ^ turn(b, 19) ^ b >>> 10);
      }
      let [a, b, c, d, e, f, g, h] = sum;
      for (let i = 0; i < 64; ++i) {
        const one = h + (turn(e, 6) ^ turn(e, 11) ^ turn(e, 25)) + (e & f ^ ~e & g) + rounds[i] + w[i] | 0;
        const two = (turn(a, 2) ^ turn(a, 13) ^ turn(a, 22)) + (a & b ^ a & c ^ b & c) | 0;
        h = g; g = f; f = e; e = d + one | 0; d = c; c = b; b = a; a = one + two | 0;
      }
      [a, b, c, d, e, f, g, h].forEach((value, i) => { sum[i] = sum[i] + value | 0; });
    }
    const out = new Uint8Array(32);
    sum.forEach((value, i) => new DataView(out.buffer).setInt32(i * 4, value));
    return out;
  };
})();

const hex = bytes => Array.from(bytes, b => b.toString(16).padStart(2, "0")).join("");
const utf8 = text => new TextEncoder().encode(text);

function hmac(key, message) {
  const block = new Uint8Array(64);
  block.set(key.length > 64 ? sha256(key) : key);
  const join = (pad, rest) => {
    const whole = new Uint8Array(64 + rest.length);
    whole.set(block.map(b => b ^ pad));
    whole.set(rest, 64);
    return sha256(whole);
  };
  return join(0x5c, join(0x36, message));
}

// The service's own clock, as far as it had to tell it: milliseconds that it is ahead of ours.
let clockAhead = 0;

/** Headers for one request of the session {user, id, token}. */
function signed(session, method, path, query, body) {
  const nonce = hex(crypto.getRandomValues(new Uint8Array(16)));
  const time = String(Date.now() + clockAhead);
  const digest = hex(sha256(utf8(body)));
  const message = [method, path, query, time, nonce, digest].join("\n");
  return {
    "Arkvale-User": encodeURIComponent(session.user),
    "Arkvale-Access": encodeURIComponent(session.id),
    "Arkvale-Time": time,
    "Arkvale-Nonce": nonce,
    "Arkvale-Digest": digest,
    "Arkvale-Signature": hex(hmac(utf8(session.token), utf8(message))),
  };
}
