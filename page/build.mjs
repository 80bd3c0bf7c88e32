// Makes the one file of the page. Usage: node page/build.mjs OUTPUT WASM LOOPS, with the module's file and the folder of
// the loops. What imports name without a path is taken from there.

import { build } from 'esbuild';
import { readFile, readdir, writeFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';

const [output, wasm, loops] = process.argv.slice(2);
const here = (path) => fileURLToPath(new URL(path, import.meta.url));
const common = { bundle: true, minify: true, write: false, charset: 'utf8', legalComments: 'none', target: 'es2023' };

const textOf = async (options) => (await build({ ...common, ...options })).outputFiles[0].text.trim();

const worklet = await textOf({ entryPoints: [here('src/worklet.js')], format: 'iife' });
const style = await textOf({ entryPoints: [here('src/style.css')] });

const presets = here('../presets/');
const names = (await readdir(presets)).filter((name) => name.endsWith('.fxp')).sort();
const inside = {
  name: 'inside',
  setup({ onResolve, onLoad }) {
    onResolve({ filter: /^(worklet|presets|wail\.wasm|.*\.flac)$/ }, ({ path }) => ({ path, namespace: 'inside' }));
    onLoad({ filter: /.*/, namespace: 'inside' }, async ({ path }) => {
      if (path === 'worklet') return { contents: worklet, loader: 'text' };
      if (path === 'wail.wasm') return { contents: await readFile(wasm), loader: 'binary' };
      if (path.endsWith('.flac')) return { contents: await readFile(`${loops}/${path}`), loader: 'binary' };
      const imports = names.map((name, i) => `import p${i} from ${JSON.stringify(presets + name)};`);
      return {
        contents: `${imports.join('')}export default [${names.map((_, i) => `p${i}`)}];`,
        resolveDir: presets,
      };
    });
  },
};
const script = await textOf({
  entryPoints: [here('src/main.js')],
  format: 'esm',
  loader: { '.fxp': 'binary' },
  plugins: [inside],
});

const page = (await readFile(here('src/index.html'), 'utf8'))
  .replace('/*style*/', () => style)
  .replace('/*script*/', () => script.replaceAll('</script', '<\\/script'));
await writeFile(output, page);
