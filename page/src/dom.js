// What all parts of the page use of its document.

export const $ = (id) => document.getElementById(id);

// Says what is wrong and what to do about it, or what was done. What plays goes on.
export function say(text, isTrouble = true) {
  $('message').textContent = text;
  $('message').classList.toggle('trouble', isTrouble);
}

// Hands bytes over as a download.
export function offer(bytes, name) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(new Blob([bytes], { type: 'application/octet-stream' }));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

// A name for a file, of a text.
export function fileName(text) {
  return (
    text
      .trim()
      .toLowerCase()
      .replace(/[^a-z0-9._-]+/g, '-')
      .replace(/^[-.]+|[-.]+$/g, '') || 'wail'
  );
}
