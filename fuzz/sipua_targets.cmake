# The containers and the timers of the user agent.
hark_fuzz(trie USES hark_sipua)
hark_fuzz(payloadtypes USES hark_sipua)
hark_fuzz(timers USES hark_sipua)
