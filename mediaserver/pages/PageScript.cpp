#include "PageScript.hpp"

namespace MediaServer
{

const char* const kPageScript = R"js(
(() => {
  const show = (text) => {
    const fresh = new DOMParser().parseFromString(text, 'text/html');
    const held = document.activeElement && document.activeElement.getAttribute('href');
    for (const part of ['main', '.lead']) {
      const now = document.querySelector(part), next = fresh.querySelector(part);
      if (now && next) now.replaceWith(next);
    }
    if (held) for (const link of document.links) if (link.getAttribute('href') === held) { link.focus(); break; }
  };
  const ask = async () => {
    if (!document.hidden) {
      try {
        const version = document.querySelector('main').dataset.version;
        const answer = await fetch(location.href, { headers: { 'If-None-Match': '"' + version + '"' }, cache: 'no-store' });
        if (answer.status === 200) show(await answer.text());
        if (answer.status === 404) return location.reload();
      } catch (error) { /* the next time, perhaps */ }
    }
    setTimeout(ask, 4000);
  };
  setTimeout(ask, 4000);
})();
)js";

}
