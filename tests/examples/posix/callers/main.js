// The lines.

const cancel = new AbortController()
for (const name of ['SIGINT', 'SIGTERM']) process.once(name, () => cancel.abort())
const [bits, ...options] = process.argv.slice(2)
findPrime(Number(bits), options, cancel.signal).then(console.log, error => {
  console.error(error.message)
  process.exitCode = 1
})
